#include "common/platform.h"
// psapi.h follows windows.h.
#include <psapi.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "bench/benchmarks.h"
#include "bench/machine.h"
#include "bench/measure.h"
#include "bench/near_free.h"
#include "bench/pnp_database.h"
#include "bench/rig.h"
#include "common/mutex.h"
#include "smbios/slot_type_setting.h"

namespace velkbench {
namespace {

double PrivateKilobytes() {
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                           sizeof counters);
    return static_cast<double>(counters.PrivateUsage) / 1024;
}

double SizeInKilobytes(HMODULE dll) {
    wchar_t file[MAX_PATH];
    ::GetModuleFileNameW(dll, file, MAX_PATH);
    return static_cast<double>(std::filesystem::file_size(file)) / 1024;
}

/// Milliseconds from the load of the DLL to an answered enumeration, and unloading it again.
double LoadToFirstAnswer(const velkhost::Machine& machine, int times) {
    const PnpDatabase database(machine);
    const velktest::ProviderHost host(machine);
    const auto sink = CountingSink::Make();
    const auto answer = [&] {
        const velk::UniqueLibrary dll(::LoadLibraryW(L"VelkWmiPci.dll"));
        const auto provider = host.MakeProvider(dll.Get(), host.Class(L"Velk_PCIDevice"));
        if (Enumerate(*provider, *sink) == 0) throw std::runtime_error("the first answer is empty");
    };
    answer();
    return Median(answer, times) / 1e6;
}

/// What so many enumerations leave in the process's private memory, after some that fill what is kept for
/// good.
double GrowthInKilobytes(const Rig& rig, const velkhost::Machine& machine, int enumerations) {
    const Answers answers(machine);
    const NearFree nearFree(rig.Dll(), rig.Objects(), answers);
    const auto provider = rig.Host().MakeProvider(rig.Dll(), rig.Host().Class(L"Velk_PCIDevice"));
    const auto sink = CountingSink::Make();
    for (int i = 0; i < 100; ++i) Enumerate(*provider, *sink);
    const double before = PrivateKilobytes();
    for (int i = 0; i < enumerations; ++i) Enumerate(*provider, *sink);
    return PrivateKilobytes() - before;
}

/// Microseconds of what every enumeration takes of the system whatever it finds, made a thousand times.
template <class Action>
double CostInMicroseconds(int turns, Action action) {
    constexpr int kTimes = 1000;
    const double all = Median(
        [&] {
            for (int i = 0; i < kTimes; ++i) action();
        },
        turns);
    return all / kTimes / 1000;
}

}  // namespace

void MeasureModule(const Options& options, const Report& report) {
    const velkhost::Machine machine = MakeMachine(64);
    const auto tell = [&](const std::string& what, double value, const char* unit) {
        report({"the module", what, 0, {}, value, unit});
    };
    tell("from load to an answered enumeration, with unloading", LoadToFirstAnswer(machine, options.turns),
         "ms");
    const Rig rig(machine);
    tell("size of the DLL", SizeInKilobytes(rig.Dll()), "KB");
    velk::CMutex mutex;
    mutex.SetName(L"VelkBench");
    tell("a named lock, taken and given back",
         CostInMicroseconds(options.turns, [&] { const velk::CMutexLock lock(mutex); }), "us");
    tell("the setting about slot types, read",
         CostInMicroseconds(options.turns, [] { velk::ReadExpressTypes(); }), "us");
    const int enumerations = std::min(1000 * options.turns, 10000);
    tell("private memory that " + std::to_string(enumerations) + " more enumerations add",
         GrowthInKilobytes(rig, machine, enumerations), "KB");
}

}  // namespace velkbench
