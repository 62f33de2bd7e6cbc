#include "tool/view/report/page_data.h"

#include <algorithm>

#include "host/utf8.h"
#include "tool/inventory/names.h"
#include "tool/inventory/qualifiers.h"
#include "tool/view/json_view.h"
#include "tool/view/object_view.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;
using velkhost::WideFromUtf8;

Json ClassToData(const ClassDef& definition) {
    Json properties = Json::array();
    for (const PropertyDef& property : definition.properties)
        properties.push_back({Utf8FromWide(property.name), ShowType(property.type), property.isKey ? 1 : 0});
    return {{"name", Utf8FromWide(definition.name)}, {"properties", std::move(properties)}};
}

Json InstanceToData(const Instance& instance, std::size_t classNumber) {
    Json values = Json::array();
    for (std::size_t i = 0; i < instance.values.size(); ++i)
        values.push_back(instance.values[i].IsNull() ? Json() : Json(ShowValue(instance, i)));
    // Without the suite's class a path has no server, and some have keys without a value: the relative one.
    const std::wstring& path = instance.path.empty() ? instance.relativePath : instance.path;
    return {classNumber, TextOrNull(Utf8FromWide(path)), ShortName(instance), std::move(values)};
}

/// The texts that would end the script element, or a line of script in readers that hold JSON for it.
std::string EscapeForScript(const std::string& json) {
    std::string out;
    out.reserve(json.size());
    for (std::size_t i = 0; i < json.size(); ++i) {
        const std::string_view three = std::string_view(json).substr(i, 3);
        if (json[i] == '<') {
            out += "\\u003c";
        } else if (json[i] == '>') {
            out += "\\u003e";
        } else if (json[i] == '&') {
            out += "\\u0026";
        } else if (three == "\xE2\x80\xA8" || three == "\xE2\x80\xA9") {
            out += three == "\xE2\x80\xA8" ? "\\u2028" : "\\u2029";
            i += 2;
        } else {
            out += json[i];
        }
    }
    return out;
}

}  // namespace

PageData::PageData(const Inventory& inventory) : inventory_(inventory) {
    for (const ClassData& data : inventory.classes) {
        if (!data.definition || IsMarked(*data.definition, L"Association")) continue;
        for (const InstancePtr& instance : data.instances) {
            numbers_.emplace(instance.get(), instances_.size());
            instances_.push_back(instance);
            if (std::ranges::find(classes_, instance->definition) == classes_.end())
                classes_.push_back(instance->definition);
        }
    }
}

std::string PageData::AsJson() const {
    Json data = {{"classes", Json::array()}, {"instances", Json::array()}, {"links", Json::array()}};
    for (const ClassPtr& definition : classes_) data["classes"].push_back(ClassToData(*definition));
    std::map<std::wstring, std::size_t> byPath;
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        const auto found = std::ranges::find(classes_, instances_[i]->definition);
        data["instances"].push_back(
            InstanceToData(*instances_[i], static_cast<std::size_t>(found - classes_.begin())));
        if (!instances_[i]->relativePath.empty())
            byPath.emplace(PathIdentity(instances_[i]->relativePath), i);
    }
    const auto end = [&](const std::string& path) {
        const auto found = byPath.find(PathIdentity(WideFromUtf8(path)));
        return found == byPath.end() ? Json(path) : Json(found->second);
    };
    for (const Link& link : inventory_.links)
        data["links"].push_back(
            {Utf8FromWide(link.instance->definition->name), end(link.from), end(link.to)});
    return EscapeForScript(JsonText(data));
}

}  // namespace velkpci
