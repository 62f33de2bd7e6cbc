#include "pci/function_keys.h"

#include "common/computer_system.h"

namespace velk {

bool FunctionKeysMatch(const RequestedKeys& keys, const wchar_t* wmiClass, const CVelkPCIDevice& function) {
    // In the order of kFunctionKeys.
    return keys.values[2] == GetComputerSystemClassName() && keys.values[3] == keys.computerName &&
           keys.values[1] == function.deviceId && keys.values[0] == wmiClass;
}

}  // namespace velk
