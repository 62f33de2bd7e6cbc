#include "pci/function_keys.h"

#include "common/computer_system.h"

namespace velk {

bool FunctionKeysMatch(const RequestedKeys& keys, const wchar_t* wmiClass, const CVelkPCIDevice& function) {
    CString systemClass;
    GetComputerSystemClassName(systemClass);
    // In the order of kFunctionKeys.
    return keys.values[2] == systemClass && keys.values[3] == keys.computerName &&
           keys.values[1] == function.deviceId && keys.values[0] == wmiClass;
}

std::vector<std::uint16_t> SlotCapability(const CVelkPCIDevice& function) {
    constexpr std::uint16_t kInNumberedSlot = 11;
    if (function.uiNumber == 0) return {};
    return {kInNumberedSlot};
}

std::vector<CString> SlotCapabilityDescription(const CVelkPCIDevice& function) {
    if (function.uiNumber == 0) return {};
    return {std::to_wstring(function.uiNumber)};
}

}  // namespace velk
