#pragma once

#include <cstdint>

#include "smbios/system_slot.h"

namespace velk {

/// What the classes say of a kind of slot.
struct SlotKindRow {
    SlotKind kind;
    unsigned text;                ///< number of its name in the string table; 0 without one
    std::uint16_t connectorType;  ///< CIM ConnectorType
    std::uint16_t layout;         ///< CIM ConnectorLayout; of PCI Express where the width tells no other
};

/// The row of a kind; every kind has one.
const SlotKindRow& RowOf(SlotKind kind) noexcept;

// The CIM connector layout of a slot: 16 PCI, 17 PCI-X, 18 PCI Express, 19 to 25 PCI Express x1 to x64, 0
// unknown. The two differ in PCI Express slots of an unlisted width (x12 among them).

/// Of the slot itself, where an unlisted width makes plain PCI Express (18).
std::uint16_t ConnectorLayoutOfSlot(const SystemSlot& slot) noexcept;
/// Of the card in the slot, where an unlisted width makes PCI-X (17): the value that clients know of such
/// cards.
std::uint16_t BusLayoutOfCard(const SystemSlot& slot) noexcept;

}  // namespace velk
