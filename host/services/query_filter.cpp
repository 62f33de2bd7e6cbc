#include "host/services/query_filter.h"

#include "common/text.h"
#include "common/variant.h"

namespace velkhost {
namespace {

bool IsSystemName(const std::wstring& name) { return name.starts_with(L"__"); }

bool TextsMatch(const std::wstring& left, const std::wstring& right) {
    return velk::EqualsIgnoringCase(left.c_str(), right.c_str());
}

bool IntegerMatches(bool negative, std::uint64_t magnitude, const WqlLiteral& literal) {
    return literal.negative == negative && literal.magnitude == magnitude;
}

bool RealMatches(double value, const WqlLiteral& literal) {
    const double wanted = static_cast<double>(literal.magnitude);
    return value == (literal.negative ? -wanted : wanted);
}

bool BooleanMatches(bool value, const WqlLiteral& literal) {
    if (literal.kind == WqlLiteral::Kind::kBoolean) return literal.truth == value;
    return (literal.magnitude != 0) == value;
}

/// A comparison with a constant that is not text.
bool NumberMatches(const Value& value, const WqlLiteral& literal) {
    if (const bool* truth = value.As<bool>()) return BooleanMatches(*truth, literal);
    if (literal.kind != WqlLiteral::Kind::kInteger) return false;
    if (const auto* number = value.As<std::int64_t>()) {
        const auto bits = static_cast<std::uint64_t>(*number);
        return IntegerMatches(*number < 0, *number < 0 ? 0 - bits : bits, literal);
    }
    if (const auto* number = value.As<std::uint64_t>()) return IntegerMatches(false, *number, literal);
    if (const double* number = value.As<double>()) return RealMatches(*number, literal);
    return false;
}

bool ValueMatches(const Value& value, const WqlLiteral& literal) {
    if (value.IsNull() || value.As<Value::List>() != nullptr) return false;
    if (literal.kind == WqlLiteral::Kind::kText) return TextsMatch(ToText(value), literal.text);
    return NumberMatches(value, literal);
}

/// A system property as a value. They are texts and 32-bit numbers; the one array (__DERIVATION) equals
/// nothing.
Value SystemValue(const ClassObject& object, const std::wstring& name) {
    velk::Variant held;
    // Get is a method of an interface that knows no const; reading a system property changes nothing.
    if (FAILED(const_cast<ClassObject&>(object).Get(name.c_str(), 0, held.Put(), nullptr, nullptr)))
        return {};
    if (held.Type() == VT_BSTR) return Value::Text(held.Get().bstrVal);
    if (held.Type() == VT_I4) return Value::Signed(held.Get().lVal);
    return {};
}

bool TermHolds(const ClassObject& object, const WqlTerm& term) {
    if (term.kind == WqlTerm::Kind::kIsDerived) return object.Class().IsA(term.literal.text);
    if (IsSystemName(term.property)) return ValueMatches(SystemValue(object, term.property), term.literal);
    const std::size_t index = object.Class().IndexOf(term.property);
    return index != ClassDef::kNone && ValueMatches(object.At(index), term.literal);
}

}  // namespace

bool FitsClass(const WqlQuery& query, const ClassDef& definition) {
    const auto exists = [&](const std::wstring& name) {
        return IsSystemName(name) || definition.Find(name) != nullptr;
    };
    for (const std::wstring& name : query.properties) {
        if (!exists(name)) return false;
    }
    for (const WqlTerm& term : query.terms) {
        if (term.kind == WqlTerm::Kind::kEquals && !exists(term.property)) return false;
    }
    return true;
}

bool Matches(const ClassObject& object, const std::vector<WqlTerm>& terms) {
    for (const WqlTerm& term : terms) {
        if (!TermHolds(object, term)) return false;
    }
    return true;
}

velk::ComPtr<ClassObject> Projector::Project(const velk::ComPtr<ClassObject>& whole) {
    if (properties_.empty()) return whole;
    if (lastClass_ != whole->ClassPointer()) {
        lastClass_ = whole->ClassPointer();
        lastProjection_ = ProjectClass(lastClass_, properties_);
    }
    return ProjectInstance(*whole, lastProjection_);
}

}  // namespace velkhost
