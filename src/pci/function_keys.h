#pragma once

#include <cstdint>
#include <string>
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

/// {11} for a function in a numbered slot, else empty. The capability's description is the slot number.
template <class Function>
std::vector<std::uint16_t> SlotCapabilities(const Function& function) {
    constexpr std::uint16_t kInNumberedSlot = 11;
    if (function.uiNumber == 0) return {};
    return {kInNumberedSlot};
}

/// {the slot number in decimal} for a function in a numbered slot, else empty.
template <class Function>
std::vector<CString> SlotCapabilityDescriptions(const Function& function) {
    if (function.uiNumber == 0) return {};
    return {std::to_wstring(function.uiNumber)};
}

}  // namespace velk
