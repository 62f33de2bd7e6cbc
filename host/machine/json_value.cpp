#include "host/machine/json_value.h"

#include "host/utf8.h"

namespace velkhost {
namespace {

std::optional<Value> IntegerFromJson(const IntegerRange& range, const Json& number) {
    const bool isNegative = !number.is_number_unsigned() && number.get<std::int64_t>() < 0;
    if (isNegative && number.get<std::int64_t>() < range.lowest) return std::nullopt;
    if (!isNegative && number.get<std::uint64_t>() > range.highest) return std::nullopt;
    if (range.lowest < 0) return Value::Signed(number.get<std::int64_t>());
    return Value::Unsigned(number.get<std::uint64_t>());
}

std::optional<Value> ElementFromJson(Cim type, const Json& value) {
    if (value.is_null()) return Value{};
    if (type == Cim::kBoolean && value.is_boolean()) return Value::Bool(value.get<bool>());
    const bool isText = type == Cim::kString || type == Cim::kDateTime || type == Cim::kReference;
    if (isText && value.is_string()) return Value::Text(WideFromUtf8(value.get<std::string>()));
    const bool isReal = type == Cim::kReal32 || type == Cim::kReal64;
    if (isReal && value.is_number()) return Value{value.get<double>()};
    const auto range = IntegerRangeOf(type);
    if (range && value.is_number_integer()) return IntegerFromJson(*range, value);
    return std::nullopt;
}

}  // namespace

std::optional<Value> ValueFromJson(const CimType& type, const Json& value) {
    if (!type.isArray || value.is_null()) return ElementFromJson(type.element, value);
    if (!value.is_array()) return std::nullopt;
    Value::List elements;
    for (const Json& item : value) {
        auto element = ElementFromJson(type.element, item);
        if (!element) return std::nullopt;
        elements.push_back(std::move(*element));
    }
    return Value::Array(std::move(elements));
}

}  // namespace velkhost
