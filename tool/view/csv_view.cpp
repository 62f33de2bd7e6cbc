#include "tool/view/csv_view.h"

#include <optional>

#include "host/utf8.h"
#include "tool/view/object_view.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;
using Field = std::optional<std::string>;

std::string Quote(const std::string& text) {
    if (!text.empty() && text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    return out + '"';
}

bool HasValueMap(const PropertyDef& property) {
    return FindQualifier(property.qualifiers, L"Values") != nullptr;
}

Field Plain(const Value& value) {
    if (value.IsNull()) return std::nullopt;
    const auto* list = value.As<Value::List>();
    if (list == nullptr) return Utf8FromWide(velkhost::ToText(value));
    std::string joined;
    for (std::size_t i = 0; i < list->size(); ++i)
        joined += (i == 0 ? "" : "; ") + Utf8FromWide(velkhost::ToText((*list)[i]));
    return joined;
}

Field NameOf(const PropertyDef& property, const Value& value) {
    const auto* list = value.As<Value::List>();
    if (list == nullptr) {
        const auto name = ValueName(property, value);
        return name ? Field(Utf8FromWide(*name)) : std::nullopt;
    }
    std::string joined;
    for (std::size_t i = 0; i < list->size(); ++i)
        joined += (i == 0 ? "" : "; ") + NameOf(property, (*list)[i]).value_or("");
    return joined;
}

/// The properties that are columns: those asked for, or all of the class.
std::vector<const PropertyDef*> ColumnsOf(const ClassDef& definition,
                                          const std::vector<std::wstring>& columns) {
    std::vector<const PropertyDef*> out;
    for (const std::wstring& column : columns) {
        if (const PropertyDef* property = definition.Find(column)) out.push_back(property);
    }
    if (!columns.empty()) return out;
    for (const PropertyDef& property : definition.properties) out.push_back(&property);
    return out;
}

}  // namespace

std::string FormatCsv(const std::vector<std::vector<Field>>& rows) {
    std::string out;
    for (const std::vector<Field>& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i != 0) out += ',';
            if (row[i]) out += Quote(*row[i]);
        }
        out += "\r\n";
    }
    return out;
}

std::string FormatAsCsv(const Findings& findings, const std::vector<std::wstring>& columns) {
    std::vector<std::vector<Field>> rows;
    for (const Section& section : findings.sections) {
        const ClassData& data = section.data;
        if (!data.definition || (FAILED(data.status) && data.instances.empty())) continue;
        const std::vector<const PropertyDef*> properties = ColumnsOf(*data.definition, columns);
        std::vector<Field> head;
        if (columns.empty()) head = {"__CLASS", "__PATH"};
        for (const PropertyDef* property : properties) {
            const std::string name = Utf8FromWide(property->name);
            head.emplace_back(name);
            if (HasValueMap(*property)) head.emplace_back(name + ".name");
        }
        rows.push_back(std::move(head));
        for (const InstancePtr& instance : data.instances) {
            std::vector<Field> row;
            if (columns.empty())
                row = {Utf8FromWide(instance->definition->name),
                       instance->path.empty() ? std::nullopt : Field(Utf8FromWide(instance->path))};
            for (const PropertyDef* property : properties) {
                const Value* value = instance->Find(property->name);
                row.push_back(value == nullptr ? std::nullopt : Plain(*value));
                if (HasValueMap(*property))
                    row.push_back(value == nullptr ? std::nullopt : NameOf(*property, *value));
            }
            rows.push_back(std::move(row));
        }
    }
    return FormatCsv(rows);
}

}  // namespace velkpci
