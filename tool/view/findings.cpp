#include "tool/view/findings.h"

#include <algorithm>

#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/inventory/names.h"
#include "tool/inventory/status_names.h"
#include "tool/view/csv_view.h"
#include "tool/view/json_view.h"
#include "tool/view/text_view.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;
using velkhost::WideFromUtf8;

/// Every class that the findings have something of, each once.
std::vector<ClassPtr> ClassesOf(const Findings& findings) {
    std::vector<ClassPtr> classes;
    const auto add = [&](const ClassPtr& definition) {
        if (definition && std::ranges::find(classes, definition) == classes.end())
            classes.push_back(definition);
    };
    for (const Section& section : findings.sections) {
        add(section.data.definition);
        for (const InstancePtr& instance : section.data.instances) {
            if (instance) add(instance->definition);
        }
    }
    return classes;
}

}  // namespace

std::string FormatFailure(const Failure& failure) {
    const std::string reason = failure.reason.empty() ? std::string() : ": " + failure.reason;
    return failure.request + ": " + DescribeStatus(failure.status) + reason;
}

std::vector<std::wstring> ResolveColumns(const Findings& findings, const std::vector<std::string>& columns) {
    const std::vector<ClassPtr> classes = ClassesOf(findings);
    std::vector<std::wstring> resolved;
    for (const std::string& column : columns) {
        const PropertyDef* found = nullptr;
        std::vector<std::string> known;
        for (const ClassPtr& definition : classes) {
            if (found == nullptr) found = definition->Find(WideFromUtf8(column));
            for (const PropertyDef& property : definition->properties)
                known.push_back(Utf8FromWide(property.name));
        }
        // Without any class there is nothing to hold a column against.
        if (found == nullptr && !classes.empty())
            throw InputError("--columns: no property \"" + column + "\"" + DidYouMean(column, known));
        resolved.push_back(found != nullptr ? found->name : WideFromUtf8(column));
    }
    return resolved;
}

std::string FormatFindings(const Findings& findings, const OutputOptions& options, std::size_t width) {
    const std::vector<std::wstring> columns = ResolveColumns(findings, options.columns);
    switch (options.format) {
        case Format::kJson:
            return FormatAsJson(findings, columns);
        case Format::kNdjson:
            return FormatAsNdjson(findings, columns);
        case Format::kCsv:
            return FormatAsCsv(findings, columns);
        case Format::kText:
            break;
    }
    return FormatAsText(findings, columns, options, width);
}

}  // namespace velkpci
