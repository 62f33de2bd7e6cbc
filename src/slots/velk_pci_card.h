#pragma once

#include <cstdint>
#include <vector>

#include "common/text.h"

namespace velk {

/// The adapter card in one PCI slot.
struct CVelkPCICard {
    CString tag;                                      ///< the key
    CString caption;                                  ///< as the tag
    CString name;                                     ///< as the tag
    CString description;                              ///< as the tag
    CString elementName;                              ///< as the tag
    std::vector<CString> vendorCompatibilityStrings;  ///< always exactly one
    std::uint16_t packageType = 9;                    ///< CIM: module or card
    bool hostingBoard = false;
    std::uint16_t busLayout = 0;  ///< CIM connector layout, 0 unknown
};

}  // namespace velk
