#include "tool/view/json_view.h"

#include <algorithm>

#include "host/utf8.h"
#include "tool/inventory/qualifiers.h"
#include "tool/inventory/status_names.h"
#include "tool/view/object_view.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;

Json ValueToJson(const Value& value) {
    if (const auto* truth = value.As<bool>()) return *truth;
    if (const auto* number = value.As<std::int64_t>()) return *number;
    if (const auto* number = value.As<std::uint64_t>()) return *number;
    if (const auto* number = value.As<double>()) return *number;
    if (const auto* text = value.As<std::wstring>()) return Utf8FromWide(*text);
    if (const auto* list = value.As<Value::List>()) {
        Json array = Json::array();
        for (const Value& element : *list) array.push_back(ValueToJson(element));
        return array;
    }
    return nullptr;
}

/// The names of a value, in its own shape; null when the value map knows none.
Json NamesToJson(const PropertyDef& property, const Value& value) {
    const auto* list = value.As<Value::List>();
    if (list == nullptr) {
        const auto name = ValueName(property, value);
        return name ? Json(Utf8FromWide(*name)) : Json();
    }
    Json names = Json::array();
    for (const Value& element : *list) names.push_back(NamesToJson(property, element));
    const bool hasAny =
        std::any_of(names.begin(), names.end(), [](const Json& each) { return !each.is_null(); });
    return hasAny ? names : Json();
}

/// The classes of a section: the one that was asked for, with its status, and those of its instances.
void AddClasses(const Section& section, Json& classes) {
    const ClassData& data = section.data;
    const auto add = [&](const ClassDef& definition) -> Json& {
        Json& entry = classes[Utf8FromWide(definition.name)];
        if (entry.is_null()) entry = ClassToJson(definition);
        return entry;
    };
    if (section.isClass) {
        Json& entry = data.definition ? add(*data.definition) : classes[Utf8FromWide(data.name)];
        if (entry.is_null()) entry = Json::object();
        entry["status"] = StatusToJson(data.status);
        entry["count"] = data.instances.size();
    }
    for (const InstancePtr& instance : data.instances) {
        if (instance) add(*instance->definition);
    }
}

Json QualifiersToJson(const velkhost::QualifierList& qualifiers) {
    Json object = Json::object();
    for (const velkhost::QualifierDef& each : qualifiers)
        object[Utf8FromWide(each.name)] = ValueToJson(each.value);
    return object;
}

Json InstanceOrNull(const InstancePtr& instance, const std::vector<std::wstring>& columns) {
    return instance ? InstanceToJson(*instance, columns) : Json();
}

}  // namespace

Json BeginDocument(const std::string& kind, const SourceInfo& source) {
    return {{"document", "velkpci." + kind},
            {"version", kJsonVersion},
            {"source",
             {{"kind", KindName(source.kind)},
              {"name", TextOrNull(source.name)},
              {"namespace", source.nameSpace}}}};
}

std::string PrintJson(const Json& json) { return JsonText(json, 2) + "\n"; }

std::string PrintJsonLine(const char* kind, const Json& members) {
    Json line = {{"line", kind}};
    line.update(members);
    return JsonText(line) + "\n";
}

Json StatusToJson(HRESULT status) {
    return {{"code", static_cast<std::uint32_t>(status)},
            {"hex", FormatStatusNumber(status)},
            {"name", TextOrNull(StatusName(status))}};
}

Json FailuresToJson(const std::vector<Failure>& failures) {
    Json array = Json::array();
    for (const Failure& failure : failures) {
        array.push_back({{"request", failure.request},
                         {"status", StatusToJson(failure.status)},
                         {"reason", TextOrNull(failure.reason)}});
    }
    return array;
}

Json ClassToJson(const ClassDef& definition) {
    Json keys = Json::array();
    Json types = Json::object();
    for (const PropertyDef& property : definition.properties) {
        const std::string name = Utf8FromWide(property.name);
        if (property.isKey) keys.push_back(name);
        types[name] = ShowType(property.type);
    }
    return {{"superclass",
             definition.derivation.empty() ? Json() : Json(Utf8FromWide(definition.derivation.front()))},
            {"association", IsMarked(definition, L"Association")},
            {"keys", std::move(keys)},
            {"types", std::move(types)}};
}

Json DeclarationToJson(const ClassDef& definition) {
    Json properties = Json::array();
    for (const PropertyDef& property : definition.properties) {
        properties.push_back({{"name", Utf8FromWide(property.name)},
                              {"type", ShowType(property.type)},
                              {"qualifiers", QualifiersToJson(property.qualifiers)}});
    }
    return {{"qualifiers", QualifiersToJson(definition.qualifiers)}, {"properties", std::move(properties)}};
}

Json InstanceToJson(const Instance& instance, const std::vector<std::wstring>& columns) {
    Json properties = Json::object();
    Json names = Json::object();
    for (const std::size_t i : ChosenProperties(instance, columns)) {
        const PropertyDef& definition = instance.definition->properties[i];
        const std::string name = Utf8FromWide(definition.name);
        properties[name] = ValueToJson(instance.values[i]);
        Json valueNames = NamesToJson(definition, instance.values[i]);
        if (!valueNames.is_null()) names[name] = std::move(valueNames);
    }
    return {{"class", Utf8FromWide(instance.definition->name)},
            {"path", TextOrNull(Utf8FromWide(instance.path))},
            {"properties", std::move(properties)},
            {"names", std::move(names)}};
}

Json MappedToJson(const MappedNumber& number) {
    if (!number.value) return nullptr;
    return {{"value", *number.value}, {"name", number.name}};
}

Json TextOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

std::string FormatAsJson(const Findings& findings, const std::vector<std::wstring>& columns) {
    Json document = BeginDocument("instances", findings.source);
    document["command"] = findings.command;
    Json classes = Json::object();
    Json instances = Json::array();
    for (const Section& section : findings.sections) {
        AddClasses(section, classes);
        for (const InstancePtr& instance : section.data.instances)
            instances.push_back(InstanceOrNull(instance, columns));
    }
    document["classes"] = std::move(classes);
    document["instances"] = std::move(instances);
    document["failures"] = FailuresToJson(findings.failures);
    return PrintJson(document);
}

std::string FormatAsNdjson(const Findings& findings, const std::vector<std::wstring>& columns) {
    std::string out;
    Json head = BeginDocument("lines", findings.source);
    head["command"] = findings.command;
    out += PrintJsonLine("document", head);
    Json classes = Json::object();
    for (const Section& section : findings.sections) AddClasses(section, classes);
    for (const auto& [name, members] : classes.items()) {
        Json line = {{"class", name}};
        line.update(members);
        out += PrintJsonLine("class", line);
    }
    for (const Section& section : findings.sections) {
        for (const InstancePtr& instance : section.data.instances) {
            if (instance) out += PrintJsonLine("instance", InstanceToJson(*instance, columns));
        }
    }
    for (const Json& failure : FailuresToJson(findings.failures)) out += PrintJsonLine("failure", failure);
    return out;
}

}  // namespace velkpci
