#pragma once

#include <cstdint>
#include <vector>

#include "framework/instance_provider.h"
#include "pci/velk_pci_device.h"

namespace velk {

// What PCI functions and bridges have in common as instances of WMI classes.

/// Keys of both classes.
inline constexpr const wchar_t* kFunctionKeys[] = {L"CreationClassName", L"DeviceID",
                                                   L"SystemCreationClassName", L"SystemName"};

/// Whether the key values of a path are those of a function published as `wmiClass`, exactly and with regard
/// to case.
bool FunctionKeysMatch(const RequestedKeys& keys, const wchar_t* wmiClass, const CVelkPCIDevice& function);

/// {11} for a function in a numbered slot, else empty. Capability 11 is paired with the slot number as its
/// description.
std::vector<std::uint16_t> SlotCapability(const CVelkPCIDevice& function);
/// {the slot number in decimal} for a function in a numbered slot, else empty.
std::vector<CString> SlotCapabilityDescription(const CVelkPCIDevice& function);

}  // namespace velk
