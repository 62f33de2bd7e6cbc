#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace velk {

/// Which slot types count as PCI Express, beside A5h (PCI Express) to B0h (generation 2 x16) that always do.
enum class ExpressTypes : std::uint8_t {
    kToGeneration2,  ///< no others
    kModern,         ///< B1h to B6h (generation 3), B8h to BDh (4), BEh to C3h (5) and C4h (6 and beyond) too
};

/// What a slot type stands for.
enum class SlotKind : std::uint8_t { kOther, kPci, kPci66, kPciX, kPciExpress };

/// The one place that knows the codes. B7h is reserved, and M.2, U.2, OCP, EDSFF and CXL codes are no PCI
/// slots.
SlotKind KindOfSlotType(std::uint8_t slotType, ExpressTypes express) noexcept;

/// What the module uses of a System Slots structure (type 9, SMBIOS 7.10).
struct SystemSlot {
    SlotKind kind = SlotKind::kOther;  ///< decided when the structure was read
    std::uint8_t dataBusWidth = 0;
    std::uint16_t id = 0;
    bool supportsHotPlug = false;
};

/// The type 9 structures of one reading of the table.
struct SystemSlots {
    std::vector<SystemSlot> structures;  ///< in table order, of every kind
    std::uint32_t pciCount = 0;          ///< how many of them are PCI slots: of any kind but kOther
};

inline constexpr std::uint8_t kSystemSlotStructure = 9;
// Offsets into its formatted area (SMBIOS 7.10).
inline constexpr std::size_t kSlotTypeOffset = 0x05;
inline constexpr std::size_t kDataBusWidthOffset = 0x06;
inline constexpr std::size_t kSlotIdOffset = 0x09;
inline constexpr std::size_t kCharacteristics2Offset = 0x0C;
/// Bytes of the formatted area that are looked at: the length of the structure in SMBIOS 2.6 to 3.1.
inline constexpr std::size_t kSystemSlotBytes = 17;

/// Reads the fields from a structure's formatted area. Of the area at most kSystemSlotBytes are looked at,
/// and fields that a short structure does not have (old firmware announces fewer bytes, broken firmware fewer
/// still) read as 0.
SystemSlot DecodeSystemSlot(std::span<const std::uint8_t> formatted, ExpressTypes express) noexcept;

/// Reads all type 9 structures of a table. Throws std::bad_alloc.
SystemSlots ReadSystemSlots(std::span<const std::uint8_t> table, ExpressTypes express);

/// The first structure whose slot ID is the given one, or null.
const SystemSlot* FindSlotId(const SystemSlots& slots, std::uint16_t id) noexcept;

}  // namespace velk
