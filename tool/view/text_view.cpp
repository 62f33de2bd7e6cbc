#include "tool/view/text_view.h"

#include <algorithm>

#include "host/path/object_path.h"
#include "host/utf8.h"
#include "tool/view/object_view.h"
#include "tool/view/table.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;

constexpr std::size_t kMany = 4;            ///< instances from which on a table shows more than blocks
constexpr std::size_t kDefaultWidth = 120;  ///< columns, where no terminal tells
constexpr std::size_t kWidestCell = 60;     ///< columns; longer texts are cut
constexpr std::size_t kGap = 2;             ///< blanks between two cells

using Column = std::vector<std::string>;

/// At most `limit` characters of a UTF-8 text, the last one "…" when it was cut.
std::string Cut(const std::string& text, std::size_t limit) {
    if (DisplayWidth(text) <= limit) return text;
    std::size_t end = 0, shown = 0;
    while (end < text.size()) {
        const bool isStart = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
        if (isStart && shown++ == limit - 1) break;
        ++end;
    }
    return text.substr(0, end) + "…";
}

std::string Cell(const Instance& instance, const PropertyDef& property) {
    const std::size_t index = instance.definition->IndexOf(property.name);
    if (index == ClassDef::kNone || instance.values[index].IsNull()) return "-";
    const auto* path = instance.values[index].As<std::wstring>();
    if (property.type == CimType{Cim::kReference, false} && path != nullptr) return ShortNameOfPath(*path);
    return ShowValue(instance, index);
}

Column ColumnOf(const Instances& instances, const PropertyDef& property) {
    Column column = {Utf8FromWide(property.name)};
    for (const InstancePtr& instance : instances)
        column.push_back(Cut(Cell(*instance, property), kWidestCell));
    return column;
}

std::size_t WidthOf(const Column& column) {
    std::size_t width = 0;
    for (const std::string& cell : column) width = std::max(width, DisplayWidth(cell));
    return width;
}

bool IsAllAlike(const Column& column) {
    return std::all_of(column.begin() + 1, column.end(),
                       [&](const std::string& cell) { return cell == column[1]; });
}

bool HasSameCells(const Column& left, const Column& right) {
    return std::equal(left.begin() + 1, left.end(), right.begin() + 1, right.end());
}

std::string Transpose(const std::vector<Column>& columns) {
    std::vector<std::vector<std::string>> rows(columns.empty() ? 0 : columns.front().size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (const Column& column : columns) rows[i].push_back(column[i]);
    }
    return FormatTable(rows);
}

/// What a person looks for first in the classes of this provider.
constexpr const wchar_t* kTelling[] = {L"VendorID", L"PCIDeviceID", L"BridgeType", L"Description"};

/// The class's properties in the order in which they earn their place: keys first.
std::vector<const PropertyDef*> Candidates(const ClassDef& definition) {
    std::vector<const PropertyDef*> out;
    const auto add = [&](const PropertyDef* property) {
        if (property != nullptr && std::ranges::find(out, property) == out.end()) out.push_back(property);
    };
    for (const PropertyDef& property : definition.properties) {
        if (property.isKey) add(&property);
    }
    for (const wchar_t* name : kTelling) add(definition.Find(name));
    for (const PropertyDef& property : definition.properties) add(&property);
    return out;
}

std::string FormatBlocks(const Section& section, const std::vector<std::wstring>& columns, bool all) {
    const Instances& instances = section.data.instances;
    std::string out;
    for (std::size_t i = 0; i < instances.size(); ++i) {
        const std::string heading = "\n[" + std::to_string(i + 1) + "] " + ShortName(*instances[i]);
        out += FormatBlock(*instances[i], heading, all, columns);
    }
    return out;
}

/// Exactly these columns, whatever their width.
std::string FormatColumns(const Instances& instances, const std::vector<std::wstring>& names) {
    std::vector<std::vector<std::string>> rows(1);
    for (const std::wstring& name : names) rows[0].push_back(Utf8FromWide(name));
    for (const InstancePtr& instance : instances) {
        std::vector<std::string> row;
        for (const std::wstring& name : names) {
            const std::size_t index = instance->definition->IndexOf(name);
            row.push_back(index == ClassDef::kNone ? "-" : ShowValue(*instance, index));
        }
        rows.push_back(std::move(row));
    }
    return FormatTable(rows);
}

std::string FormatSection(const Section& section, const std::vector<std::wstring>& columns,
                          const OutputOptions& options, std::size_t width) {
    const Instances& instances = section.data.instances;
    const std::string noun = instances.size() == 1 ? " instance\n" : " instances\n";
    const std::string title = section.title + ": " + std::to_string(instances.size()) + noun;
    if (!columns.empty() && !options.blocks) return FormatColumns(instances, columns);
    const bool isTable = !options.blocks && !options.all && instances.size() >= kMany;
    return title +
           (isTable ? "\n" + FormatOverview(instances, width) : FormatBlocks(section, columns, options.all));
}

/// Instances that were asked for by their paths, each under its whole path.
std::string FormatGot(const Section& section, const std::vector<std::wstring>& columns, bool all) {
    std::string out;
    for (const InstancePtr& instance : section.data.instances) {
        if (!instance) continue;
        const std::wstring& path = instance->path.empty() ? instance->definition->name : instance->path;
        out += (out.empty() ? "" : "\n") + FormatBlock(*instance, Utf8FromWide(path), all, columns);
    }
    return out;
}

}  // namespace

std::string FormatOverview(const Instances& instances, std::size_t width) {
    if (instances.empty()) return {};
    std::vector<Column> chosen;
    std::size_t used = 0, crowded = 0, alike = 0;
    for (const PropertyDef* property : Candidates(*instances.front()->definition)) {
        Column column = ColumnOf(instances, *property);
        const bool isFirst = chosen.empty() && property->isKey && !IsSameForAll(property->name);
        const bool isRepeated =
            std::ranges::any_of(chosen, [&](const Column& other) { return HasSameCells(other, column); });
        if (!isFirst && (IsAllAlike(column) || isRepeated)) {
            ++alike;
            continue;
        }
        const std::size_t needed = WidthOf(column) + (chosen.empty() ? 0 : kGap);
        if (!chosen.empty() && used + needed > (width == 0 ? kDefaultWidth : width)) {
            ++crowded;
            continue;
        }
        used += needed;
        chosen.push_back(std::move(column));
    }
    std::string out = Transpose(chosen);
    if (crowded + alike == 0) return out;
    return out + "\nNot shown: " + std::to_string(alike) + " properties that tell nothing apart, " +
           std::to_string(crowded) + " without room (--blocks shows all, --columns chooses).\n";
}

std::string FormatAsText(const Findings& findings, const std::vector<std::wstring>& columns,
                         const OutputOptions& options, std::size_t width) {
    std::string out;
    for (const Section& section : findings.sections) {
        // A class that failed is told on the error stream, and is not one without instances.
        if (FAILED(section.data.status) && section.data.instances.empty()) continue;
        if (!out.empty()) out += "\n";
        out += section.title.empty() ? FormatGot(section, columns, options.all)
                                     : FormatSection(section, columns, options, width);
    }
    return out;
}

}  // namespace velkpci
