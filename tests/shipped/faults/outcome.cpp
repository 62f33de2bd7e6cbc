#include "outcome.h"

#include "allowed_differences.h"
#include "holdings.h"

namespace velktest {

namespace {

bool StartsThread(const ClassUnderTest& tested, const Outcome& outcome) {
    return outcome.entry == Entry::kEnumerate && tested.onThread;
}

}  // namespace

HRESULT Outcome::Result(const ClassUnderTest& tested) const {
    const bool isReported = StartsThread(tested, *this) && SUCCEEDED(returned) && !sink.statuses.empty();
    return isReported ? sink.statuses.front().result : returned;
}

std::string JudgeStatus(const ClassUnderTest& tested, const Outcome& outcome) {
    const auto& [entry, mode, call, returned, sink, initSink] = outcome;
    const bool startsThread = StartsThread(tested, outcome);
    const auto allowed = AllowedStatuses(entry, mode, call, tested.needsTable);
    std::string complaint;
    if (!(startsThread ? AllowedStartStatuses(mode, call) : allowed).contains(returned))
        complaint += "returned " + Hex(returned) + "; ";
    if (!startsThread || FAILED(returned)) return complaint;
    const HRESULT reported = outcome.Result(tested);
    if (!allowed.contains(reported)) complaint += "reported " + Hex(reported) + "; ";
    return complaint;
}

std::string JudgeSinks(const ClassUnderTest& tested, const Outcome& outcome) {
    const auto& [entry, mode, call, returned, sink, initSink] = outcome;
    const bool isGet = entry == Entry::kGetFound || entry == Entry::kGetMissing;
    const std::size_t initStatuses = entry == Entry::kInitialize && SUCCEEDED(returned) ? 1 : 0;
    std::size_t statuses = 0;
    // A thread that could not be started reports nothing; every other enumeration reports everything. A get
    // reports successes alone.
    if (entry == Entry::kEnumerate) statuses = StartsThread(tested, outcome) && FAILED(returned) ? 0 : 1;
    if (isGet && SUCCEEDED(returned)) statuses = 1;
    const HRESULT reported = isGet ? S_OK : outcome.Result(tested);
    // How many instances there must be is for JudgeInventory to say; all come in one call.
    const std::size_t mostIndications = statuses == 1 && SUCCEEDED(reported) ? 1 : 0;

    std::string complaint;
    if (sink.statuses.size() != statuses) complaint += std::to_string(sink.statuses.size()) + " statuses; ";
    if (!sink.statuses.empty() &&
        sink.statuses.front() != RecordingSink::Status{WBEM_STATUS_COMPLETE, reported})
        complaint += "another status than returned; ";
    if (!sink.plainStatuses) complaint += "status with a text or an object; ";
    if (sink.indications.size() > mostIndications)
        complaint += std::to_string(sink.indications.size()) + " deliveries; ";
    if (initSink.statuses.size() != initStatuses)
        complaint += std::to_string(initSink.statuses.size()) + " statuses of Initialize; ";
    return complaint;
}

std::string JudgeInventory(const ClassUnderTest& tested, const Outcome& outcome, const Inventory& expected) {
    const bool delivers = outcome.entry == Entry::kEnumerate || outcome.entry == Entry::kGetFound;
    if (!delivers || FAILED(outcome.Result(tested))) return {};
    const Differences allowed =
        AllowedDifferences(outcome.entry, outcome.mode, outcome.call, tested.sufferable);
    return Compare(expected, InventoryOf(DeliveredTo(outcome.sink)), allowed);
}

}  // namespace velktest
