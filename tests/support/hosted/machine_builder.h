#pragma once

#include <string>

#include "host/machine/machine.h"

namespace velktest {

/// What a test says about a PCI function; by itself a network function without a slot number.
struct MadeFunction {
    std::wstring classId = L"PCI\\CC_020000";  ///< its one compatible ID
    std::wstring location = L"PCI bus 1, device 0, function 0";
    std::wstring hardwareId = L"PCI\\VEN_8086&DEV_1521&SUBSYS_00018086&REV_01";
    DWORD slotNumber = 0;  ///< 0 = the platform gives none
};

/// A device with every property that the scan wants; a test then takes away or changes what it is about.
velkhost::PnpDevice MakeDevice(const MadeFunction& function);

/// A machine of that full name and nothing else.
velkhost::Machine MachineNamed(const std::wstring& fullName);

}  // namespace velktest
