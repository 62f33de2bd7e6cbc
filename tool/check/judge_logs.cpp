#include "tool/check/judge.h"

namespace velkpci {
namespace {

Verdict JudgeFolder(const Logs& logs) {
    const std::string point = "log folder";
    // A path that ends in a backslash would swallow the quote behind it.
    const std::string grant = "icacls \"" + logs.folder + ".\" /grant *S-1-5-20:(OI)(CI)M";
    if (!logs.isThere)
        return Failed(point, logs.folder + " is not there",
                      "make it, and let NETWORK SERVICE write there: " + grant);
    if (!logs.hostMayWrite)
        return Failed(point, "NETWORK SERVICE may not write in " + logs.folder,
                      grant + ", or set LogFolder to a folder where it may");
    return Passed(point, logs.folder);
}

Verdict JudgeLines(const Facts& facts) {
    constexpr long kInformation = 3;
    const std::string point = "log of these requests";
    const bool isAnswered = facts.wmi && SUCCEEDED(facts.wmi->connected);
    if (!isAnswered) return NotApplicable(point, "WMI was not asked");
    if (facts.logs->level > kInformation)
        return NotApplicable(point,
                             "at level " + std::to_string(facts.logs->level) + " only failures are written");
    if (facts.logs->hasGrown) return Passed(point, "VelkWBEMServer.log has new lines");
    return Failed(
        point, "VelkWBEMServer.log has no new line",
        "the host cannot write it, or it was opened by a host of another setting: end the host, and "
        "check again");
}

Verdict JudgeMutex(const Logs& logs) {
    const std::string point = "lock of the log";
    if (!logs.hasMutexError) return Passed(point, "no VelkCommonLog_MutexError.log");
    return Failed(point, "there is a VelkCommonLog_MutexError.log in the system folder",
                  "the log's mutex was refused to a host: see the page on logging, and delete the file");
}

Verdict JudgeLocks(const Logs& logs) {
    const std::string point = "locks";
    if (!logs.hasLockFailures) return Passed(point, "no new line in velkwbems.log");
    return Failed(point, "velkwbems.log has new lines",
                  "5 or 6 at the end of a line: somebody else has the name; see the page on troubleshooting");
}

}  // namespace

void JudgeLogs(const Facts& facts, std::vector<Verdict>& verdicts) {
    if (!facts.logs) {
        for (const char* point : {"log folder", "log of these requests", "lock of the log", "locks"})
            verdicts.push_back(NotApplicable(point, "not this computer's provider host"));
        return;
    }
    verdicts.push_back(JudgeFolder(*facts.logs));
    verdicts.push_back(JudgeLines(facts));
    verdicts.push_back(JudgeMutex(*facts.logs));
    verdicts.push_back(JudgeLocks(*facts.logs));
}

}  // namespace velkpci
