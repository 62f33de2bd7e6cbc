#include "host/model/class_def.h"

#include <charconv>
#include <utility>

namespace velkhost {

namespace {

/// An entry of a ValueMap: "5", "26..32567", "26..", "..9" or "..". Nothing when it is something else.
struct MapRange {
    std::int64_t first = INT64_MIN;
    std::int64_t last = INT64_MAX;
};

std::optional<std::int64_t> Number(std::wstring_view text) {
    const std::string narrow(text.begin(), text.end());
    std::int64_t number = 0;
    const char* end = narrow.data() + narrow.size();
    const auto result = std::from_chars(narrow.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

std::optional<MapRange> ReadMapRange(std::wstring_view entry) {
    const std::size_t dots = entry.find(L"..");
    MapRange range;
    const std::wstring_view first = entry.substr(0, dots);
    const std::wstring_view last = dots == entry.npos ? first : entry.substr(dots + 2);
    for (const auto& [text, bound] : {std::pair(first, &range.first), std::pair(last, &range.last)}) {
        if (text.empty() && dots != entry.npos) continue;
        const auto number = Number(text);
        if (!number) return std::nullopt;
        *bound = *number;
    }
    return range;
}

bool Matches(const std::wstring& entry, const Value& value) {
    if (const auto* text = value.As<std::wstring>()) return *text == entry;
    std::int64_t number = 0;
    if (const auto* held = value.As<std::int64_t>()) number = *held;
    if (const auto* held = value.As<std::uint64_t>()) number = static_cast<std::int64_t>(*held);
    const auto range = ReadMapRange(entry);
    return range && number >= range->first && number <= range->last;
}

// A value that the map names is that, whatever range it also lies in: ".." stands for all the others.
std::optional<std::wstring> ScalarName(const Value::List& map, const Value::List& names, const Value& value) {
    if (value.IsNull()) return std::nullopt;
    const std::wstring text = ToText(value);
    std::optional<std::wstring> inRange;
    for (std::size_t i = 0; i < map.size() && i < names.size(); ++i) {
        const auto* entry = map[i].As<std::wstring>();
        if (entry == nullptr) continue;
        if (*entry == text) return ToText(names[i]);
        if (!inRange && Matches(*entry, value)) inRange = ToText(names[i]);
    }
    return inRange;
}

}  // namespace

bool SameName(std::wstring_view left, std::wstring_view right) {
    return ::CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                  static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

const QualifierDef* FindQualifier(const QualifierList& qualifiers, std::wstring_view name) {
    for (const QualifierDef& qualifier : qualifiers) {
        if (SameName(qualifier.name, name)) return &qualifier;
    }
    return nullptr;
}

std::size_t ClassDef::IndexOf(std::wstring_view property) const {
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (SameName(properties[i].name, property)) return i;
    }
    return kNone;
}

const PropertyDef* ClassDef::Find(std::wstring_view property) const {
    const std::size_t index = IndexOf(property);
    return index == kNone ? nullptr : &properties[index];
}

bool ClassDef::IsA(std::wstring_view className) const {
    if (SameName(name, className)) return true;
    for (const std::wstring& ancestor : derivation) {
        if (SameName(ancestor, className)) return true;
    }
    return false;
}

std::wstring ClassDef::Provider() const {
    const QualifierDef* named = FindQualifier(qualifiers, L"Provider");
    return named == nullptr ? std::wstring() : ToText(named->value);
}

ClassPtr ProjectClass(const ClassPtr& wholeClass, const std::vector<std::wstring>& properties) {
    auto projection = std::make_shared<ClassDef>(*wholeClass);
    projection->isProjection = true;
    projection->properties.clear();
    for (const PropertyDef& property : wholeClass->properties) {
        bool isSelected = false;
        for (const std::wstring& name : properties) isSelected = isSelected || SameName(name, property.name);
        if (isSelected) {
            projection->properties.push_back(property);
        } else if (property.isKey) {
            projection->lacksKeys = true;
        }
    }
    return projection;
}

std::optional<std::wstring> ValueName(const PropertyDef& property, const Value& value) {
    const QualifierDef* mapQualifier = FindQualifier(property.qualifiers, L"ValueMap");
    const QualifierDef* namesQualifier = FindQualifier(property.qualifiers, L"Values");
    if (mapQualifier == nullptr || namesQualifier == nullptr) return std::nullopt;
    const auto* map = mapQualifier->value.As<Value::List>();
    const auto* names = namesQualifier->value.As<Value::List>();
    if (map == nullptr || names == nullptr) return std::nullopt;

    const auto* elements = value.As<Value::List>();
    if (elements == nullptr) return ScalarName(*map, *names, value);
    std::wstring joined;
    bool isNamed = false;
    for (const Value& element : *elements) {
        const auto name = ScalarName(*map, *names, element);
        isNamed = isNamed || name.has_value();
        if (&element != &elements->front()) joined += L", ";
        joined += name.value_or(L"?");
    }
    return isNamed ? std::optional(joined) : std::nullopt;
}

}  // namespace velkhost
