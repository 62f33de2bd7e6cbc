#include <sstream>

#include "host/com/wbem_codes.h"
#include "host/utf8.h"
#include "tool/app/command.h"
#include "tool/inventory/names.h"
#include "tool/inventory/status_names.h"

namespace velkpci {
namespace {

/// The class that a request names: itself, the class of a path, or what a query selects from.
std::string ClassOf(const std::string& request) {
    std::istringstream words(request);
    for (std::string word; words >> word;) {
        const bool isFrom = velkhost::SameName(velkhost::WideFromUtf8(word), L"from");
        if (isFrom && words >> word) return word;
    }
    return request.substr(0, request.find('.'));
}

}  // namespace

WmiReader& Context::Reader() {
    if (!reader_) {
        source_ = OpenSource(options_.source, console_);
        reader_.emplace(*source_, console_, options_.source.verbose);
    }
    return *reader_;
}

Failure Context::Explain(const std::string& request, HRESULT status) {
    Failure failure{request, status, source_ ? source_->TakeReport() : std::string()};
    if (status == velkhost::kWbemInvalidClass && reader_) {
        std::vector<std::wstring> names;
        std::vector<std::string> known;
        if (SUCCEEDED(reader_->ClassNames(names))) {
            for (const std::wstring& name : names) known.push_back(velkhost::Utf8FromWide(name));
        }
        const std::string nearest = NearestWord(ClassOf(request), known);
        if (!nearest.empty()) failure.reason = "did you mean " + nearest + "?";
    }
    if (failure.reason.empty()) failure.reason = MendOf(status);
    return failure;
}

std::vector<Failure> Context::FailuresOf(const Inventory& inventory) {
    std::vector<Failure> failures;
    for (const ClassData& data : inventory.classes) {
        if (IsFailure(data)) failures.push_back(Explain(velkhost::Utf8FromWide(data.name), data.status));
    }
    return failures;
}

int Context::Print(const Findings& findings) {
    console_.Print(FormatFindings(findings, options_.output, console_.Width()));
    return Finish(findings.failures);
}

int Context::Finish(const std::vector<Failure>& failures) {
    for (const Failure& failure : failures) console_.Complain(FormatFailure(failure));
    return failures.empty() ? kSuccess : kFailure;
}

void Context::FlushReport() {
    const std::string report = source_ ? source_->TakeReport() : std::string();
    if (!report.empty()) console_.Complain(report);
}

}  // namespace velkpci
