#include "host/cli/object_view.h"

#include "host/cli/table.h"
#include "host/path/object_path.h"
#include "host/utf8.h"

namespace velkhost::cli {
namespace {

using nlohmann::ordered_json;

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

/// Paths spell key names in any case.
bool IsSameForAll(std::wstring_view key) {
    constexpr std::wstring_view kClassKey = L"CreationClassName";
    const bool endsLikeIt =
        key.size() >= kClassKey.size() && SameName(key.substr(key.size() - kClassKey.size()), kClassKey);
    return endsLikeIt || SameName(key, L"SystemName");
}

std::string NameFromKeys(const ObjectPath& path) {
    std::wstring name;
    for (const PathKey& key : path.keys) {
        if (path.keys.size() > 1 && IsSameForAll(key.name)) continue;
        if (!name.empty()) name += L", ";
        const auto* text = std::get_if<std::wstring>(&key.value);
        name += text != nullptr ? *text : FormatKeyValue(key.value);
    }
    return Utf8FromWide(name.empty() ? FormatRelativePath(path) : name);
}

ordered_json ElementToJson(const Value& value) {
    if (const auto* truth = value.As<bool>()) return *truth;
    if (const auto* number = value.As<std::int64_t>()) return *number;
    if (const auto* number = value.As<std::uint64_t>()) return *number;
    if (const auto* number = value.As<double>()) return *number;
    if (const auto* text = value.As<std::wstring>()) return Utf8FromWide(*text);
    if (const auto* list = value.As<Value::List>()) {
        ordered_json array = ordered_json::array();
        for (const Value& element : *list) array.push_back(ElementToJson(element));
        return array;
    }
    return nullptr;
}

ordered_json TextOrNull(const std::optional<std::wstring>& text) {
    return text ? ordered_json(Utf8FromWide(*text)) : ordered_json(nullptr);
}

}  // namespace

std::vector<std::size_t> ReadingOrder(const ClassObject& object) {
    const auto& properties = object.Class().properties;
    std::vector<std::size_t> keys, values, nulls;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        auto& group = properties[i].isKey ? keys : object.At(i).IsNull() ? nulls : values;
        group.push_back(i);
    }
    keys.insert(keys.end(), values.begin(), values.end());
    keys.insert(keys.end(), nulls.begin(), nulls.end());
    return keys;
}

std::string ShowType(const CimType& type) {
    return Utf8FromWide(std::wstring(CimKeyword(type.element))) + (type.isArray ? "[]" : "");
}

std::string ShowValue(const ClassObject& object, std::size_t property) {
    const PropertyDef& definition = object.Class().properties[property];
    const Value& value = object.At(property);
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

std::string ShortName(const ClassObject& object) {
    const auto& properties = object.Class().properties;
    std::string links;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const auto* text = object.At(i).As<std::wstring>();
        if (properties[i].type != CimType{Cim::kReference, false} || text == nullptr) continue;
        links += (links.empty() ? "" : " - ") + ShortNameOfPath(*text);
    }
    if (!links.empty()) return links;
    const auto path = object.RelativePath();
    return path ? ShortNameOfPath(*path) : Utf8FromWide(object.Class().name);
}

std::string FormatBlock(const ClassObject& object, const std::string& heading, bool all) {
    std::vector<std::vector<std::string>> rows;
    const auto& properties = object.Class().properties;
    for (const std::size_t i : ReadingOrder(object)) {
        if (object.At(i).IsNull() && !all && !properties[i].isKey && object.IsInstance()) continue;
        std::vector<std::string> row = {Utf8FromWide(properties[i].name)};
        if (!object.IsInstance())
            row.push_back(ShowType(properties[i].type) + (properties[i].isKey ? ", key" : ""));
        if (object.IsInstance() || !object.At(i).IsNull()) row.push_back(ShowValue(object, i));
        rows.push_back(std::move(row));
    }
    return heading + '\n' + FormatTable(rows, 4);
}

ordered_json ToJson(const ClassObject& object) {
    ordered_json properties = ordered_json::object();
    ordered_json types = ordered_json::object();
    ordered_json names = ordered_json::object();
    ordered_json keys = ordered_json::array();
    const auto& definitions = object.Class().properties;
    for (std::size_t i = 0; i < definitions.size(); ++i) {
        const std::string name = Utf8FromWide(definitions[i].name);
        properties[name] = ElementToJson(object.At(i));
        types[name] = ShowType(definitions[i].type);
        if (definitions[i].isKey) keys.push_back(name);
        if (const auto text = ValueName(definitions[i], object.At(i))) names[name] = Utf8FromWide(*text);
    }
    ordered_json json;
    json["__CLASS"] = Utf8FromWide(object.Class().name);
    json["__PATH"] = TextOrNull(object.FullPath());
    json["properties"] = std::move(properties);
    json["types"] = std::move(types);
    json["keys"] = std::move(keys);
    json["valueNames"] = std::move(names);
    return json;
}

}  // namespace velkhost::cli
