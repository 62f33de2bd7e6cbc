#pragma once

#include <cstdint>

#include "common/text.h"

namespace velk {

/// One PCI function other than a bridge, as the Plug and Play database describes it.
struct CVelkPCIDevice {
    CString deviceId;                     ///< key text, BUS(b)DEV(d)FN(f) in decimal
    std::uint16_t vendorId = 0;           ///< VEN_ of the hardware ID
    std::uint16_t pciDeviceId = 0;        ///< DEV_
    std::uint8_t revisionId = 0;          ///< REV_
    std::uint16_t subsystemVendorId = 0;  ///< last four digits of SUBSYS_
    std::uint16_t subsystemId = 0;        ///< first four digits of SUBSYS_
    CString description;
    CString elementName;  ///< first hardware ID
    CString name;         ///< first hardware ID
    std::uint32_t busNumber = 0;
    std::uint32_t deviceNumber = 0;
    std::uint32_t functionNumber = 0;
    std::uint32_t uiNumber = 0;   ///< slot number that the platform reports; 0 when none
    std::uint32_t classCode = 0;  ///< PCI base class
    CString objectPath;           ///< full WMI object path of the function's instance
};

/// One PCI bridge function.
struct CVelkPCIBridge : CVelkPCIDevice {
    std::uint16_t bridgeType = 0;  ///< PCI bridge subclass when it is 0 to 8, else 128
};

}  // namespace velk
