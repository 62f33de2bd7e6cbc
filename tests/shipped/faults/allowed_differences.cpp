#include "allowed_differences.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace velktest {

namespace {

using enum Difference;

// Without these there is no table.
const Differences kWithoutTable = {kNoSlots, kNoLayout};
// A query of WMI that fails is a query without result: no table, and no answer about the computer.
const Differences kWithoutWmi = {kNoSlots, kNoLayout, kNoServer, kNoGroup};

const std::map<std::string, Differences>& CausesOfDifferences() {
    static const std::map<std::string, Differences> causes = {
        // The end of the devices is told by a failure, and which one is not asked.
        {"SetupDiEnumDeviceInfo", {kFewerDevices}},
        // A device without its compatible IDs, location, description or hardware IDs is left out without a
        // word; one without its location path, its bus or its slot number stays, without them.
        {"SetupDiGetDeviceRegistryPropertyW", {kOneDevice}},
        // The buffers of the computer's name, of the table and of the driver's memory.
        {"HeapAlloc", {kNextName, kNoSlots, kNoLayout}},
        {"GetComputerNameExW", {kNextName}},
        // A text that cannot be found has a text that says so in its place.
        {"GetModuleHandleW", {kNoText}},
        {"FindResourceExW", {kNoText}},
        {"LoadResource", {kNoText}},
        {"LockResource", {kNoText}},
        {"SizeofResource", {kNoText}},
        // An array of texts keeps the place of the one that it has no memory for.
        {"SysAllocStringLen", {kNoElement}},
        {"CoCreateInstance", kWithoutWmi},
        {"IWbemLocator::ConnectServer", kWithoutWmi},
        {"IWbemServices::ExecQuery", kWithoutWmi},
        {"IEnumWbemClassObject::Next", kWithoutWmi},
        {"IWbemClassObject::Get", kWithoutWmi},
        // The bytes of the table, which WMI gives as an array.
        {"SafeArrayGetVartype", kWithoutTable},
        {"SafeArrayGetDim", kWithoutTable},
        {"SafeArrayGetLBound", kWithoutTable},
        {"SafeArrayGetUBound", kWithoutTable},
        {"SafeArrayGetElement", kWithoutTable},
        // The driver, which is opened anew for each read.
        {"CreateFileW", kWithoutTable},
        {"DeviceIoControl", kWithoutTable},
    };
    return causes;
}

}  // namespace

Differences AllowedDifferences(Entry entry, FaultMode mode, const std::string& call,
                               const Differences& sufferable) {
    Differences allowed;
    if (call.empty()) return allowed;
    for (const auto& [cause, differences] : CausesOfDifferences()) {
        if (mode == FaultMode::kSingle && cause != call) continue;
        std::ranges::set_intersection(differences, sufferable, std::inserter(allowed, allowed.end()));
    }
    // A get reports a success whatever the sink answers; an enumeration reports that answer.
    const bool refused = mode == FaultMode::kFromThereOn || call == "IWbemObjectSink::Indicate";
    if (entry == Entry::kGetFound && refused) allowed.insert(kNotDelivered);
    return allowed;
}

}  // namespace velktest
