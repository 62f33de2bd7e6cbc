#pragma once

#include <string>
#include <vector>

#include "tool/inventory/instance.h"
#include "tool/source/source.h"

namespace velkpci {

/// A request that failed: of a class, a path or a query.
struct Failure {
    std::string request;
    HRESULT status = S_OK;
    std::string reason;  ///< what more is known, or what mends it; empty mostly
};

/// "Velk_X: WBEM_E_FAILED (0x80041001): reason".
std::string FormatFailure(const Failure& failure);

/// Instances under one heading: those of a class, of a query, of the paths asked for.
struct Section {
    std::string title;
    ClassData data;
    bool isClass = false;  ///< whether `data` is a whole class, so that its status is the class's
};

/// What a command that gives instances found; every output format is written from it alone.
struct Findings {
    std::string command;
    SourceInfo source;
    std::vector<Section> sections;
    std::vector<Failure> failures;  ///< empty exactly when everything was answered
};

enum class Format { kText, kJson, kCsv, kNdjson };

struct OutputOptions {
    Format format = Format::kText;
    std::vector<std::string> columns;  ///< these properties alone, in this order; empty: all of them
    bool all = false;                  ///< NULL properties too
    bool blocks = false;               ///< a block for each instance, however many there are
};

/// The columns as the classes spell them. Throws InputError for one that no class of the findings has.
std::vector<std::wstring> ResolveColumns(const Findings& findings, const std::vector<std::string>& columns);

/// The findings in the format that the options ask for. `width` is the terminal's, 0 for none. Throws
/// InputError for unknown columns.
std::string FormatFindings(const Findings& findings, const OutputOptions& options, std::size_t width);

}  // namespace velkpci
