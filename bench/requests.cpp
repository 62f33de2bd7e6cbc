#include <cwchar>
#include <stdexcept>

#include "bench/benchmarks.h"
#include "bench/machine.h"
#include "bench/near_free.h"
#include "bench/rig.h"
#include "common/bstr.h"

namespace velkbench {
namespace {

/// The path of the last function of the machine: a get looks at all before it.
std::wstring PathOfLast(unsigned functions) {
    const velkhost::Machine machine = MakeMachine(functions);
    unsigned bus = 0, device = 0, function = 0;
    // The last function is a bridge; the one before it is the last device.
    const auto& text = machine.devices[functions - 2].properties.at(SPDRP_LOCATION_INFORMATION).bytes;
    const std::wstring location(reinterpret_cast<const wchar_t*>(text.data()));
    if (std::swscanf(location.c_str(), L"PCI bus %u, device %u, function %u", &bus, &device, &function) != 3)
        throw std::logic_error("the machine's last function has no location");
    return velk::FormatText(
        L"Velk_PCIDevice.CreationClassName=\"Velk_PCIDevice\",DeviceID=\"BUS(%u)DEV(%u)FN(%u)\","
        L"SystemCreationClassName=\"Velk_WinComputerSystem\",SystemName=\"server17.example.com\"",
        bus, device, function);
}

}  // namespace

void MeasureRequests(const Options& options, const Report& report) {
    const Rig rig(MakeMachine(64));
    const Answers answers(MakeMachine(options.largest));
    const NearFree nearFree(rig.Dll(), rig.Objects(), answers);
    const auto provider = rig.Host().MakeProvider(rig.Dll(), rig.Host().Class(L"Velk_PCIDevice"));
    const auto sink = CountingSink::Make();
    const velk::Bstr path(PathOfLast(options.largest));
    const Comparison comparison = Compare(
        [&] {
            sink->Begin();
            if (FAILED(provider->GetObjectAsync(path.Get(), 0, nullptr, sink.Get())) || sink->Finish() != 1)
                throw std::runtime_error("a get to be measured finds nothing");
        },
        [&] { Enumerate(*provider, *sink); }, options.turns);
    report(
        {"get by path against an enumeration", "Velk_PCIDevice, the last one", options.largest, comparison});
}

}  // namespace velkbench
