#pragma once

#include <string>
#include <vector>

#include "host/machine/machine_replay.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "support/hosted/machine_builder.h"
#include "support/hosted/provider_bench.h"

namespace velktest {

inline velkhost::PnpDevice Function(
    const std::wstring& compatibleId, const std::wstring& location,
    const std::wstring& hardwareId = L"PCI\\VEN_8086&DEV_1533&SUBSYS_00018086&REV_03") {
    return MakeDevice({.classId = compatibleId, .location = location, .hardwareId = hardwareId});
}

/// A machine that is all devices, named "srv01.example.net", before the module-wide lists.
class PciBench : public ProviderBench {
  protected:
    PciBench();
    ~PciBench() override;

    velkhost::Machine& Machine() { return replay_.Current(); }
    /// Replaces the machine's devices.
    void SetDevices(std::vector<velkhost::PnpDevice> devices) { Machine().devices = std::move(devices); }

  private:
    velkhost::MachineReplay replay_;
};

/// A function other than a bridge, and a PCI-to-PCI bridge, for tests in which only their number counts.
inline constexpr wchar_t kNetwork[] = L"PCI\\CC_020000";
inline constexpr wchar_t kPciBridge[] = L"PCI\\CC_060400";

}  // namespace velktest
