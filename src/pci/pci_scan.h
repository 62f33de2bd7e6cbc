#pragma once

#include <cstdint>
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

/// Receives the functions of a scan, and tells what sets one list apart from another.
class PciScanTarget {
  public:
    /// The list's name in log lines.
    virtual const wchar_t* ListName() const noexcept = 0;
    /// The WMI class that object paths name.
    virtual const wchar_t* WmiClass() const noexcept = 0;
    /// Reads the joined compatible IDs of a function.
    virtual ClassReading Classify(std::wstring_view compatibleIds) const noexcept = 0;
    virtual void AddFunction(CVelkPCIDevice function, const ClassReading& reading) = 0;

  protected:
    ~PciScanTarget() = default;
};

/// Reads all present devices of the PCI enumerator through SetupAPI and hands those that the target wants to
/// it, in the order of the Plug and Play database. A function that cannot be read is left out without a word.
/// False when the database, the computer's name or an object path cannot be had. Throws std::bad_alloc or
/// std::length_error.
bool ScanPciFunctions(PciScanTarget& target);

}  // namespace velk
