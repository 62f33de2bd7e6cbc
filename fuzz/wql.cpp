#include "host/services/wql.h"

#include "fuzz/input.h"

using velkfuzz::Require;
using velkhost::WqlLiteral;
using velkhost::WqlTerm;

namespace {

std::wstring Write(const WqlLiteral& literal) {
    if (literal.kind == WqlLiteral::Kind::kBoolean) return literal.truth ? L"TRUE" : L"FALSE";
    if (literal.kind == WqlLiteral::Kind::kInteger) {
        Require(!literal.negative || (literal.magnitude > 0 && literal.magnitude <= std::uint64_t{1} << 63),
                "a negative number fits");
        return (literal.negative ? L"-" : L"") + std::to_wstring(literal.magnitude);
    }
    std::wstring text = L"'";
    for (const wchar_t c : literal.text) {
        if (c == L'\'' || c == L'\\') text += L'\\';
        text += c;
    }
    return text + L"'";
}

std::wstring Write(const velkhost::WqlQuery& query) {
    std::wstring text = L"select ";
    for (const std::wstring& property : query.properties) text += property + L",";
    if (query.properties.empty()) text += L"*,";
    text.back() = L' ';
    text += L"from " + query.className;
    const wchar_t* join = L" where ";
    for (const WqlTerm& term : query.terms) {
        const bool isDerived = term.kind == WqlTerm::Kind::kIsDerived;
        Require(!isDerived || query.isSchema, "ISA is for schema queries");
        Require(isDerived == term.property.empty(), "a comparison has a property");
        text += join + (isDerived ? L"__this isa " : term.property + L"=") + Write(term.literal);
        join = L" and ";
    }
    return text;
}

}  // namespace

// A query that is understood is the same query when it is written out and read again; one that is not has an
// error message and nothing else.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const velkfuzz::WideInput input(data, size);
    const velkhost::WqlResult result = velkhost::ParseWql(input.Text());
    Require(result.query.has_value() == result.error.empty(), "there is a query or an error");
    if (!result.query) return 0;

    const std::wstring written = Write(*result.query);
    const velkhost::WqlResult again = velkhost::ParseWql(written);
    Require(again.query && Write(*again.query) == written, "what was written is the same query");
    return 0;
}
