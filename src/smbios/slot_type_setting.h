#pragma once

#include "smbios/system_slot.h"

namespace velk {

/// Which slot types count as PCI Express by the registry (HKEY_LOCAL_MACHINE "Software\Velkor\WBEM", value
/// "ModernSlotTypes"): the modern ones too when the value is a REG_DWORD other than 0. A value that is
/// absent, of another type or cannot be read leaves them out. Asks the registry on each call.
ExpressTypes ReadExpressTypes() noexcept;

}  // namespace velk
