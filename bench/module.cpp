#include "common/platform.h"
// psapi.h follows windows.h.
#include <psapi.h>

#include <filesystem>
#include <optional>

#include "bench/benchmarks.h"
#include "bench/machine.h"
#include "bench/near_free.h"
#include "bench/rig.h"

namespace velkbench {
namespace {

double PrivateKilobytes() {
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                           sizeof counters);
    return static_cast<double>(counters.PrivateUsage) / 1024;
}

constexpr char kGroup[] = "the module";

}  // namespace

void MeasureModule(const Options& options, const Report& report) {
    const velkhost::Machine machine = MakeMachine(64);
    const double before = PrivateKilobytes();
    std::optional<Rig> rig(machine);
    wchar_t file[MAX_PATH];
    ::GetModuleFileNameW(rig->Dll(), file, MAX_PATH);
    report({kGroup,
            "size of the DLL",
            0,
            {},
            static_cast<double>(std::filesystem::file_size(file)) / 1024,
            "KB"});

    const velktest::ServedClass served = rig->Host().Class(L"Velk_PCIDevice");
    const auto sink = CountingSink::Make();
    std::optional<NearFree> nearFree(std::in_place, rig->Dll(), rig->Objects());
    nearFree->Use(machine);
    auto provider = rig->Host().MakeProvider(rig->Dll(), served);
    for (int i = 0; i < 100; ++i) Enumerate(*provider, *sink);
    const double used = PrivateKilobytes();
    for (int i = 0; i < 10000; ++i) Enumerate(*provider, *sink);
    report(
        {kGroup, "private memory that 10,000 more enumerations add", 0, {}, PrivateKilobytes() - used, "KB"});
    provider.Reset();
    nearFree.reset();
    rig.reset();
    (void)before;
    (void)options;
}

}  // namespace velkbench
