#pragma once

#include <cstdint>
#include <vector>

#include "common/text.h"

namespace velk {

/// One physical PCI slot.
struct CVelkPCISlot {
    CString elementName;  ///< as the name
    CString name;
    CString tag;                               ///< the key
    std::uint16_t number = 0;                  ///< low 16 bits of the slot number: the firmware's slot ID
    std::uint16_t connectorLayout = 0;         ///< CIM value, 0 unknown
    CString caption;                           ///< as the tag
    CString description;                       ///< as the tag
    CString connectorPinout;                   ///< name of the kind of slot; empty outside the PCI families
    std::vector<std::uint16_t> connectorType;  ///< CIM value, always exactly one
    CString otherTypeDescription;              ///< only where the connector type says "Other" of a PCI slot
    std::vector<CString> vendorCompatibilityStrings;  ///< always exactly one
    bool supportsHotPlug = false;
    bool poweredOn = true;
};

}  // namespace velk
