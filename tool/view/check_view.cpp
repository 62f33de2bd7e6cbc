#include "tool/view/check_view.h"

#include <algorithm>

#include "tool/view/json_view.h"
#include "tool/view/table.h"

namespace velkpci {
namespace {

/// As the eye finds it: what failed is in capitals.
const char* Mark(Outcome outcome) {
    switch (outcome) {
        case Outcome::kPassed:
            return "passed";
        case Outcome::kFailed:
            return "FAILED";
        case Outcome::kNotApplicable:
            return "-";
    }
    return "";
}

std::size_t CountOf(const std::vector<Verdict>& verdicts, Outcome outcome) {
    return static_cast<std::size_t>(std::ranges::count(verdicts, outcome, &Verdict::outcome));
}

Json VerdictToJson(const Verdict& verdict) {
    return {{"point", verdict.point},
            {"outcome", OutcomeName(verdict.outcome)},
            {"detail", TextOrNull(verdict.detail)},
            {"mend", TextOrNull(verdict.mend)}};
}

Json FirmwareToJson(const Firmware& firmware) {
    Json slots = Json::array();
    for (const DescribedSlot& slot : firmware.slots)
        slots.push_back(
            {{"type", slot.type}, {"id", slot.id}, {"designation", TextOrNull(slot.designation)}});
    return {{"way", firmware.way}, {"readable", firmware.isReadable}, {"slots", std::move(slots)}};
}

Json ServersToJson(const Registration& registration) {
    Json servers = Json::array();
    for (const ServerFile& file : registration.files)
        servers.push_back(
            {{"path", file.path}, {"version", TextOrNull(file.version)}, {"loadError", file.loadError}});
    return servers;
}

}  // namespace

std::string FormatVerdicts(const std::vector<Verdict>& verdicts) {
    std::vector<std::vector<std::string>> rows;
    for (const Verdict& verdict : verdicts) {
        rows.push_back({Mark(verdict.outcome), verdict.point, verdict.detail});
        if (!verdict.mend.empty()) rows.push_back({"", "", "-> " + verdict.mend});
    }
    return FormatTable(rows) + "\n" + std::to_string(CountOf(verdicts, Outcome::kPassed)) + " passed, " +
           std::to_string(CountOf(verdicts, Outcome::kFailed)) + " failed, " +
           std::to_string(CountOf(verdicts, Outcome::kNotApplicable)) + " not applicable\n";
}

std::string FormatVerdictsAsJson(const Facts& facts, const std::vector<Verdict>& verdicts) {
    Json lines = Json::array();
    for (const Verdict& verdict : verdicts) lines.push_back(VerdictToJson(verdict));
    Json document = BeginDocument("check", facts.source);
    document["program"] = facts.programVersion;
    document["windows"] = TextOrNull(facts.windows);
    document["servers"] = facts.registration ? ServersToJson(*facts.registration) : Json();
    document["firmware"] = facts.firmware ? FirmwareToJson(*facts.firmware) : Json();
    document["verdicts"] = std::move(lines);
    document["passed"] = CountOf(verdicts, Outcome::kPassed);
    document["failed"] = CountOf(verdicts, Outcome::kFailed);
    document["notApplicable"] = CountOf(verdicts, Outcome::kNotApplicable);
    return PrintJson(document);
}

}  // namespace velkpci
