#pragma once

#include <cstdint>

#include "common/text.h"

namespace velk {

/// Where a PCI slot is on the system.
struct CVelkPCISlotLocation {
    CString elementName;                       ///< the slot's tag
    CString name;                              ///< the slot's tag; a key
    CString caption;                           ///< the slot's tag
    CString description;                       ///< tells an operator where to look
    CString physicalPosition;                  ///< the slot number as text; a key
    CString elementLocationTag;                ///< the slot's tag
    std::uint16_t elementLocationTagDesc = 0;  ///< a number, though the name reads like a text; always 0
};

}  // namespace velk
