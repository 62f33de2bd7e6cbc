#pragma once

// What the Plug and Play database says of a PCI function in words. Pure functions over text, without platform
// headers.

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace velk {

/// Joins a multi-string (texts of which each ends in a NUL, with one more NUL at the end) in place: each text
/// is followed by a blank. Returns the joined text up to its first NUL; a buffer without a final double NUL
/// is joined to its end.
std::wstring_view JoinMultiString(std::span<wchar_t> buffer) noexcept;

/// The text up to the first NUL, or all of it.
std::wstring_view FirstString(std::wstring_view buffer) noexcept;

/// How reading a number ended, in the terms of the scanf family.
enum class ScanResult {
    kEndOfInput,  ///< the text ended before the first number (what scanf reports as -1)
    kMismatch,    ///< something else stood there; nothing was read
    kRead,        ///< at least the first number was read
};

/// Reads two hexadecimal digits, "%02x", from the two characters at `position`.
ScanResult ScanHexByte(std::wstring_view text, std::size_t position, std::uint32_t& value) noexcept;

/// The numbers of a hardware ID such as PCI\VEN_8086&DEV_1234&SUBSYS_72708086&REV_20. Older and virtual
/// devices leave out the tail; what is not there stays 0.
struct HardwareIdNumbers {
    std::uint16_t vendorId = 0;
    std::uint16_t deviceId = 0;
    std::uint16_t subsystemId = 0;
    std::uint16_t subsystemVendorId = 0;
    std::uint8_t revisionId = 0;
};

/// Reads "PCI\VEN_%04x&DEV_%04x&SUBSYS_%04x%04x&REV_%02x". SUBSYS_ holds the subsystem ID first, its vendor
/// behind.
ScanResult ParseHardwareId(std::wstring_view hardwareId, HardwareIdNumbers& numbers) noexcept;

/// Where a function sits. Bytes: a platform that packs the PCI segment above the bus number keeps the bus
/// alone.
struct BusPosition {
    std::uint8_t bus = 0;
    std::uint8_t device = 0;
    std::uint8_t function = 0;
};

/// Reads a location text such as "PCI bus 0, device 28, function 0" or "PCI Slot 3 (PCI bus 2, device 0,
/// function 1)": the number behind each of the words bus, device and function. True when exactly three such
/// words were found, with or without a number behind them. Numbers that were found are stored in either case.
/// Other languages fail here.
bool ParseLocationText(std::wstring_view text, BusPosition& position) noexcept;

/// Reads device and function from the first PCI(ddff) element behind the root of a location path such as
/// PCIROOT(0)#PCI(1C00)#PCI(0000). For a function behind a bridge these are the numbers of the element
/// nearest the root. Without a "#" the digits are taken from the fifth character on. The bus is left as it
/// is.
ScanResult ParseLocationPath(std::wstring_view path, BusPosition& position) noexcept;

/// What the Plug and Play database says of a function's place.
struct LocationProperties {
    std::wstring_view text;  ///< in the language of the system
    std::wstring_view path;  ///< empty where there is none
    std::optional<std::uint32_t> busNumber;
};

/// Reads the place from the location text, else device and function from the location path and the bus from
/// the low byte of the bus number. What none of them tells is left as it is. False when neither text nor path
/// could be read.
bool ParseLocation(const LocationProperties& location, BusPosition& position) noexcept;

/// PCI base class 06h, bridges, as it stands in a compatible ID.
inline constexpr std::wstring_view kBridgeClassId = L"CC_06";

}  // namespace velk
