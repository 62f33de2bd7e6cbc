#include "smbios/system_slot.h"

#include <algorithm>

#include "smbios/little_endian.h"
#include "smbios/structure_table.h"

namespace velk {

namespace {

constexpr std::uint8_t kHotPlugSupported = 0x02;

/// Slot types, both ends included (SMBIOS 7.10.1).
struct TypeRange {
    std::uint8_t first;
    std::uint8_t last;
    bool Holds(std::uint8_t slotType) const noexcept { return slotType >= first && slotType <= last; }
};
constexpr TypeRange kExpressToGeneration2 = {0xA5, 0xB0};
constexpr TypeRange kExpressGeneration3 = {0xB1, 0xB6};
constexpr TypeRange kExpressFromGeneration4 = {0xB8, 0xC4};

constexpr std::uint8_t kSlotTypePci = 0x06;
constexpr std::uint8_t kSlotTypePci66 = 0x0E;
constexpr std::uint8_t kSlotTypePciX = 0x12;

bool IsPciExpress(std::uint8_t slotType, ExpressTypes express) noexcept {
    if (kExpressToGeneration2.Holds(slotType)) return true;
    return express == ExpressTypes::kModern &&
           (kExpressGeneration3.Holds(slotType) || kExpressFromGeneration4.Holds(slotType));
}

}  // namespace

SlotKind KindOfSlotType(std::uint8_t slotType, ExpressTypes express) noexcept {
    if (slotType == kSlotTypePci) return SlotKind::kPci;
    if (slotType == kSlotTypePci66) return SlotKind::kPci66;
    if (slotType == kSlotTypePciX) return SlotKind::kPciX;
    return IsPciExpress(slotType, express) ? SlotKind::kPciExpress : SlotKind::kOther;
}

SystemSlot DecodeSystemSlot(std::span<const std::uint8_t> formatted, ExpressTypes express) noexcept {
    // Zeros are what each field's absence comes nearest to: no PCI slot type, no known width, the ID that no
    // printed slot number has, no hot-plug.
    const auto bytes = formatted.first(std::min(formatted.size(), kSystemSlotBytes));
    return {KindOfSlotType(ReadUInt8(bytes, kSlotTypeOffset), express), ReadUInt8(bytes, kDataBusWidthOffset),
            ReadUInt16(bytes, kSlotIdOffset),
            (ReadUInt8(bytes, kCharacteristics2Offset) & kHotPlugSupported) != 0};
}

SystemSlots ReadSystemSlots(std::span<const std::uint8_t> table, ExpressTypes express) {
    SystemSlots slots;
    StructureWalk walk(table);
    while (const std::optional<SmbiosStructure> structure = walk.Next()) {
        if (structure->type != kSystemSlotStructure) continue;
        slots.structures.push_back(DecodeSystemSlot(structure->formatted, express));
        if (slots.structures.back().kind != SlotKind::kOther) ++slots.pciCount;
    }
    return slots;
}

const SystemSlot* FindSlotId(const SystemSlots& slots, std::uint16_t id) noexcept {
    const auto found = std::find_if(slots.structures.begin(), slots.structures.end(),
                                    [id](const SystemSlot& slot) { return slot.id == id; });
    return found == slots.structures.end() ? nullptr : &*found;
}

}  // namespace velk
