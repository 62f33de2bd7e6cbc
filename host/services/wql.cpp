#include "host/services/wql.h"

#include <limits>
#include <utility>

#include "host/characters.h"

namespace velkhost {
namespace {

/// Carries the message of an invalid query out of the parser; it never leaves ParseWql.
struct SyntaxError {
    std::wstring message;
};

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

class WqlParser {
  public:
    explicit WqlParser(std::wstring_view text) : text_(text) {}

    WqlQuery Parse() {
        WqlQuery query;
        ExpectKeyword(L"select");
        query.properties = ParseProperties();
        ExpectKeyword(L"from");
        query.className = ParseName(L"a class name");
        query.isSchema = EqualsAsciiWord(query.className, L"meta_class");
        if (query.isSchema && !query.properties.empty()) Fail(L"a query of meta_class selects * only");
        if (!AtEnd()) {
            ExpectKeyword(L"where");
            query.terms = ParseTerms(query.isSchema);
        }
        return query;
    }

  private:
    [[noreturn]] void Fail(const std::wstring& what) const {
        throw SyntaxError{what + L" (at character " + std::to_wstring(position_ + 1) + L")"};
    }

    wchar_t Peek() const { return position_ < text_.size() ? text_[position_] : L'\0'; }

    void SkipBlanks() {
        while (position_ < text_.size() && IsBlank(text_[position_])) ++position_;
    }

    bool AtEnd() {
        SkipBlanks();
        return position_ == text_.size();
    }

    bool TakeSymbol(wchar_t symbol) {
        if (AtEnd() || text_[position_] != symbol) return false;
        ++position_;
        return true;
    }

    /// The longest run of name characters from here on; empty when there is none.
    std::wstring_view TakeWord() {
        SkipBlanks();
        const std::size_t start = position_;
        while (position_ < text_.size() && IsNameCharacter(text_[position_])) ++position_;
        return text_.substr(start, position_ - start);
    }

    void ExpectKeyword(std::wstring_view lowerKeyword) {
        const std::size_t start = position_;
        if (EqualsAsciiWord(TakeWord(), lowerKeyword)) return;
        position_ = start;
        SkipBlanks();
        Fail(L"the word " + std::wstring(lowerKeyword) + L" is expected");
    }

    std::wstring ParseName(const wchar_t* what) {
        SkipBlanks();
        if (IsAsciiDigit(Peek())) Fail(std::wstring(what) + L" does not begin with a digit");
        const std::wstring_view name = TakeWord();
        if (name.empty()) Fail(std::wstring(what) + L" is expected");
        return std::wstring(name);
    }

    std::vector<std::wstring> ParseProperties() {
        std::vector<std::wstring> properties;
        if (TakeSymbol(L'*')) return properties;
        do {
            properties.push_back(ParseName(L"a property name"));
        } while (TakeSymbol(L','));
        return properties;
    }

    std::vector<WqlTerm> ParseTerms(bool isSchema) {
        std::vector<WqlTerm> terms;
        for (;;) {
            terms.push_back(ParseTerm(isSchema));
            if (AtEnd()) return terms;
            ExpectKeyword(L"and");
        }
    }

    WqlTerm ParseTerm(bool isSchema) {
        WqlTerm term;
        term.property = ParseName(L"a property name");
        if (EqualsAsciiWord(term.property, L"__this")) {
            if (!isSchema) Fail(L"__this ISA is for queries of meta_class");
            ExpectKeyword(L"isa");
            term.kind = WqlTerm::Kind::kIsDerived;
            term.property.clear();
        } else if (!TakeSymbol(L'=')) {
            Fail(L"= is expected, the one comparison that is understood");
        }
        term.literal = ParseLiteral();
        if (term.kind == WqlTerm::Kind::kIsDerived && term.literal.kind != WqlLiteral::Kind::kText) {
            Fail(L"ISA needs a class name in quotes");
        }
        return term;
    }

    WqlLiteral ParseLiteral() {
        if (AtEnd()) Fail(L"a value is expected");
        const wchar_t first = Peek();
        if (first == L'"' || first == L'\'') return ParseText();
        if (first == L'-' || first == L'+' || IsAsciiDigit(first)) return ParseInteger();
        WqlLiteral literal;
        literal.kind = WqlLiteral::Kind::kBoolean;
        const std::size_t start = position_;
        const std::wstring_view word = TakeWord();
        literal.truth = EqualsAsciiWord(word, L"true");
        if (literal.truth || EqualsAsciiWord(word, L"false")) return literal;
        position_ = start;
        Fail(L"a value is expected: a quoted text, an integer, TRUE or FALSE");
    }

    WqlLiteral ParseText() {
        WqlLiteral literal;
        const wchar_t quote = text_[position_++];
        while (position_ < text_.size()) {
            const wchar_t c = text_[position_++];
            if (c == quote) return literal;
            if (c != L'\\') {
                literal.text.push_back(c);
            } else if (position_ < text_.size()) {
                literal.text.push_back(text_[position_++]);
            }
        }
        Fail(L"the closing quote is missing");
    }

    WqlLiteral ParseInteger() {
        WqlLiteral literal;
        literal.kind = WqlLiteral::Kind::kInteger;
        const bool minus = Peek() == L'-';
        if (minus || Peek() == L'+') ++position_;
        std::wstring_view digits = TakeWord();
        const bool isHex = digits.size() > 2 && digits[0] == L'0' && ToLowerAscii(digits[1]) == L'x';
        const unsigned base = isHex ? 16 : 10;
        if (isHex) digits.remove_prefix(2);
        if (digits.empty() || Peek() == L'.') Fail(L"an integer is expected");
        for (const wchar_t c : digits) {
            const unsigned digit = DigitValue(c);
            if (digit >= base) Fail(L"an integer is expected");
            if (literal.magnitude > (std::numeric_limits<std::uint64_t>::max() - digit) / base) {
                Fail(L"the integer exceeds 64 bits");
            }
            literal.magnitude = literal.magnitude * base + digit;
        }
        constexpr std::uint64_t kLargestNegative = std::uint64_t{1} << 63;
        if (minus && literal.magnitude > kLargestNegative) Fail(L"the integer exceeds 64 bits");
        literal.negative = minus && literal.magnitude != 0;
        return literal;
    }

    std::wstring_view text_;
    std::size_t position_ = 0;
};

}  // namespace

WqlResult ParseWql(std::wstring_view text) {
    WqlResult result;
    try {
        result.query = WqlParser(text).Parse();
    } catch (SyntaxError& error) {
        result.error = std::move(error.message);
    }
    return result;
}

}  // namespace velkhost
