#include "host/model/literal_value.h"

#include <utility>

namespace velkhost {

namespace {

std::optional<Value> IntegerOf(Cim type, const mof::Integer& integer) {
    if (type == Cim::kReal32 || type == Cim::kReal64) {
        const auto magnitude = static_cast<double>(integer.magnitude);
        return Value{integer.negative ? -magnitude : magnitude};
    }
    const std::optional<IntegerRange> range = IntegerRangeOf(type);
    if (!range) return std::nullopt;
    if (integer.negative) {
        // -lowest as unsigned arithmetic has it: right for the lowest sint64 too.
        const std::uint64_t deepest = 0 - static_cast<std::uint64_t>(range->lowest);
        if (integer.magnitude > deepest) return std::nullopt;
        return Value::Signed(static_cast<std::int64_t>(0 - integer.magnitude));
    }
    if (integer.magnitude > range->highest) return std::nullopt;
    if (range->lowest < 0) return Value::Signed(static_cast<std::int64_t>(integer.magnitude));
    return Value::Unsigned(integer.magnitude);
}

std::optional<Value> ScalarOf(Cim type, const mof::Literal& literal) {
    if (const auto* truth = std::get_if<bool>(&literal.data)) {
        return type == Cim::kBoolean ? std::optional(Value::Bool(*truth)) : std::nullopt;
    }
    if (const auto* integer = std::get_if<mof::Integer>(&literal.data)) return IntegerOf(type, *integer);
    if (const auto* real = std::get_if<double>(&literal.data)) {
        const bool isReal = type == Cim::kReal32 || type == Cim::kReal64;
        return isReal ? std::optional(Value{*real}) : std::nullopt;
    }
    const auto* text = std::get_if<std::wstring>(&literal.data);
    if (text == nullptr) return std::nullopt;
    if (type == Cim::kString || type == Cim::kReference) return Value::Text(*text);
    if (type != Cim::kDateTime && type != Cim::kSInt64 && type != Cim::kUInt64) return std::nullopt;
    // Their texts are checked where those of clients are.
    Value value;
    const velk::Variant written = velk::Variant::FromText(velk::Bstr(*text));
    return SUCCEEDED(FromVariant({type}, written.Get(), value)) ? std::optional(value) : std::nullopt;
}

Cim QualifierElementType(const mof::Literal& literal) {
    if (std::holds_alternative<bool>(literal.data)) return Cim::kBoolean;
    if (std::holds_alternative<double>(literal.data)) return Cim::kReal64;
    if (const auto* integer = std::get_if<mof::Integer>(&literal.data)) {
        for (const Cim type : {Cim::kSInt32, Cim::kSInt64}) {
            if (IntegerOf(type, *integer)) return type;
        }
        return Cim::kUInt64;
    }
    return Cim::kString;
}

LONG FlavorOf(const mof::Qualifier& declared) {
    LONG flavor = 0;
    for (const std::wstring& name : declared.flavors) {
        if (SameName(name, L"ToInstance")) flavor |= WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE;
        if (SameName(name, L"ToSubclass")) flavor |= WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
        if (SameName(name, L"DisableOverride")) flavor |= WBEM_FLAVOR_NOT_OVERRIDABLE;
        if (SameName(name, L"Amended")) flavor |= WBEM_FLAVOR_AMENDED;
    }
    return flavor;
}

}  // namespace

std::optional<Value> ValueOfLiteral(const CimType& type, const mof::Literal& literal) {
    if (std::holds_alternative<std::monostate>(literal.data)) return Value();
    const auto* list = std::get_if<mof::Literal::List>(&literal.data);
    if (type.isArray != (list != nullptr)) return std::nullopt;
    if (list == nullptr) return ScalarOf(type.element, literal);
    Value::List elements;
    for (const mof::Literal& element : *list) {
        std::optional<Value> value = ScalarOf(type.element, element);
        if (!value) return std::nullopt;
        elements.push_back(std::move(*value));
    }
    return Value::Array(std::move(elements));
}

std::optional<QualifierDef> MakeQualifier(const mof::Qualifier& declared) {
    QualifierDef qualifier;
    qualifier.name = declared.name;
    qualifier.flavor = FlavorOf(declared);
    const auto* list = std::get_if<mof::Literal::List>(&declared.value.data);
    qualifier.type.isArray = list != nullptr;
    if (list == nullptr) {
        qualifier.type.element = QualifierElementType(declared.value);
    } else if (!list->empty()) {
        qualifier.type.element = QualifierElementType(list->front());
    }
    std::optional<Value> value = ValueOfLiteral(qualifier.type, declared.value);
    if (!value) return std::nullopt;
    qualifier.value = std::move(*value);
    return qualifier;
}

}  // namespace velkhost
