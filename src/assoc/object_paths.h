#pragma once

#include <cstdint>

#include "common/text.h"

namespace velk {

// Full paths of the objects that associations name by slot number alone, whether or not anybody publishes
// them. Each asks WMI for the server's name, see MakeFullObjectPath, and may throw std::bad_alloc.

CString FullSlotPath(std::uint32_t number);
CString FullCardPath(std::uint32_t slotNumber);
CString FullLocationPath(std::uint32_t slotNumber);

}  // namespace velk
