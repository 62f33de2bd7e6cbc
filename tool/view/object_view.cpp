#include "tool/view/object_view.h"

#include <numeric>

#include "host/path/object_path.h"
#include "host/utf8.h"
#include "tool/view/table.h"

namespace velkpci {
namespace {

using velkhost::FormatRelativePath;
using velkhost::ObjectPath;
using velkhost::ParseObjectPath;
using velkhost::PathKey;
using velkhost::ToText;
using velkhost::Utf8FromWide;

/// One element, with its name when the value map has one.
std::string ShowElement(const PropertyDef& property, const Value& value) {
    if (value.IsNull()) return "NULL";
    std::wstring text = ToText(value);
    if (property.type.element == Cim::kReference) {
        if (const auto path = ParseObjectPath(text)) text = FormatRelativePath(*path);
    }
    if (const auto name = ValueName(property, value)) text += L" (" + *name + L")";
    return Utf8FromWide(text);
}

std::string NameFromKeys(const ObjectPath& path) {
    std::wstring name;
    for (const PathKey& key : path.keys) {
        if (path.keys.size() > 1 && IsSameForAll(key.name)) continue;
        if (!name.empty()) name += L", ";
        const auto* text = std::get_if<std::wstring>(&key.value);
        name += text != nullptr ? *text : velkhost::FormatKeyValue(key.value);
    }
    return Utf8FromWide(name.empty() ? FormatRelativePath(path) : name);
}

}  // namespace

// Paths spell key names in any case.
bool IsSameForAll(std::wstring_view key) {
    constexpr std::wstring_view kClassKey = L"CreationClassName";
    const bool endsLikeIt =
        key.size() >= kClassKey.size() && SameName(key.substr(key.size() - kClassKey.size()), kClassKey);
    return endsLikeIt || SameName(key, L"SystemName");
}

std::vector<std::size_t> ReadingOrder(const Instance& instance) {
    const auto& properties = instance.definition->properties;
    std::vector<std::size_t> keys, values, nulls;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        auto& group = properties[i].isKey ? keys : instance.values[i].IsNull() ? nulls : values;
        group.push_back(i);
    }
    keys.insert(keys.end(), values.begin(), values.end());
    keys.insert(keys.end(), nulls.begin(), nulls.end());
    return keys;
}

std::vector<std::size_t> ChosenProperties(const Instance& instance, const std::vector<std::wstring>& names) {
    std::vector<std::size_t> chosen;
    for (const std::wstring& name : names) {
        const std::size_t index = instance.definition->IndexOf(name);
        if (index != ClassDef::kNone) chosen.push_back(index);
    }
    if (!names.empty()) return chosen;
    chosen.resize(instance.definition->properties.size());
    std::iota(chosen.begin(), chosen.end(), std::size_t{0});
    return chosen;
}

std::string ShowType(const CimType& type) {
    return Utf8FromWide(std::wstring(velkhost::CimKeyword(type.element))) + (type.isArray ? "[]" : "");
}

std::string ShowValue(const Instance& instance, std::size_t property) {
    const PropertyDef& definition = instance.definition->properties[property];
    const Value& value = instance.values[property];
    const auto* list = value.As<Value::List>();
    if (list == nullptr) return ShowElement(definition, value);
    std::string text;
    for (const Value& element : *list) text += (text.empty() ? "{" : ", ") + ShowElement(definition, element);
    return text.empty() ? "{}" : text + "}";
}

std::string ShortNameOfPath(const std::wstring& path) {
    const auto parsed = ParseObjectPath(path);
    return parsed ? NameFromKeys(*parsed) : Utf8FromWide(path);
}

std::string ShortName(const Instance& instance) {
    const auto& properties = instance.definition->properties;
    std::string links;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const auto* text = instance.values[i].As<std::wstring>();
        if (properties[i].type != CimType{Cim::kReference, false} || text == nullptr) continue;
        links += (links.empty() ? "" : " - ") + ShortNameOfPath(*text);
    }
    if (!links.empty()) return links;
    return instance.relativePath.empty() ? Utf8FromWide(instance.definition->name)
                                         : ShortNameOfPath(instance.relativePath);
}

std::string FormatBlock(const Instance& instance, const std::string& heading, bool all,
                        const std::vector<std::wstring>& columns) {
    std::vector<std::vector<std::string>> rows;
    const auto& properties = instance.definition->properties;
    const bool showsNull = all || instance.isClass || !columns.empty();
    for (const std::size_t i :
         columns.empty() ? ReadingOrder(instance) : ChosenProperties(instance, columns)) {
        const bool isNull = instance.values[i].IsNull();
        if (isNull && !showsNull && !properties[i].isKey) continue;
        std::vector<std::string> row = {Utf8FromWide(properties[i].name)};
        if (instance.isClass)
            row.push_back(ShowType(properties[i].type) + (properties[i].isKey ? ", key" : ""));
        if (!instance.isClass || !isNull) row.push_back(ShowValue(instance, i));
        rows.push_back(std::move(row));
    }
    return heading + '\n' + FormatTable(rows, 4);
}

}  // namespace velkpci
