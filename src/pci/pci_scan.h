#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "common/text.h"
#include "pci/velk_pci_device.h"

namespace velk {

/// What the compatible IDs of a function tell a list about it.
struct ClassReading {
    bool keep = false;             ///< whether the function belongs to the list
    std::uint32_t classCode = 0;   ///< PCI base class
    std::uint16_t bridgeType = 0;  ///< of bridges only
};

/// What sets the scan of one list apart from that of another.
struct PciScanKind {
    const wchar_t* listName;  ///< in log lines
    const wchar_t* wmiClass;  ///< that object paths name
    /// Reads the joined compatible IDs of a function.
    ClassReading (*classify)(std::wstring_view compatibleIds) noexcept;
};

/// Takes over a function that belongs to the list. May throw.
using AddPciFunction = std::function<void(CVelkPCIDevice function, const ClassReading& reading)>;

/// Reads all present devices of the PCI enumerator through SetupAPI and hands over those that belong to the
/// list, in the order of the Plug and Play database. A function that cannot be read is left out without a
/// word. False when the database, the computer's name or an object path cannot be had. Throws std::bad_alloc
/// or std::length_error.
bool ScanPciFunctions(const PciScanKind& kind, const AddPciFunction& add);

}  // namespace velk
