#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace velk {

/// What the module uses of a System Slots structure (type 9, SMBIOS 7.10).
struct SystemSlot {
    std::uint8_t slotType = 0;
    std::uint8_t dataBusWidth = 0;
    std::uint16_t id = 0;
    bool supportsHotPlug = false;
};

/// The type 9 structures of one reading of the table.
struct SystemSlots {
    std::vector<SystemSlot> structures;  ///< in table order, of every slot type
    std::uint32_t pciCount = 0;          ///< how many of them have a PCI slot type
};

inline constexpr std::uint8_t kSystemSlotStructure = 9;
/// Bytes of the formatted area that are looked at: the length of the structure in SMBIOS 2.6 to 3.1.
inline constexpr std::size_t kSystemSlotBytes = 17;

/// Slot types that stand for themselves. The PCI Express family is told by IsPciExpress.
inline constexpr std::uint8_t kSlotTypePci = 0x06;
inline constexpr std::uint8_t kSlotTypePci66 = 0x0E;
inline constexpr std::uint8_t kSlotTypePciX = 0x12;

/// A5h (PCI Express) to B0h (PCI Express Gen 2 x16). The types that later versions added behind it (Gen 3 on,
/// B1h and up) are not in the set.
bool IsPciExpress(std::uint8_t slotType) noexcept;
/// PCI, PCI-66, PCI-X or PCI Express.
bool IsPciSlotType(std::uint8_t slotType) noexcept;

/// Reads the fields from a structure's formatted area. Of the area at most kSystemSlotBytes are looked at,
/// and fields that a short structure does not have (old firmware announces fewer bytes, broken firmware fewer
/// still) read as 0.
SystemSlot DecodeSystemSlot(std::span<const std::uint8_t> formatted) noexcept;

/// Reads all type 9 structures of a table. Throws std::bad_alloc.
SystemSlots ReadSystemSlots(std::span<const std::uint8_t> table);

/// The first structure whose slot ID is the given one, or null.
const SystemSlot* FindSlotId(const SystemSlots& slots, std::uint16_t id) noexcept;

// The CIM connector layout of a slot: 16 PCI, 17 PCI-X, 18 PCI Express, 19 to 25 PCI Express x1 to x64, 0
// unknown. The two differ in PCI Express slots of an unlisted width (x12 among them).

/// Of the slot itself, where an unlisted width makes plain PCI Express (18).
std::uint16_t ConnectorLayoutOfSlot(const SystemSlot& slot) noexcept;
/// Of the card in the slot, where clients have always been told 17 for an unlisted width.
std::uint16_t BusLayoutOfCard(const SystemSlot& slot) noexcept;

}  // namespace velk
