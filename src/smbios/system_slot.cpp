#include "smbios/system_slot.h"

#include <algorithm>

#include "smbios/little_endian.h"
#include "smbios/structure_table.h"

namespace velk {

namespace {

// SMBIOS 7.10: offsets into the formatted area.
constexpr std::size_t kSlotTypeOffset = 0x05;
constexpr std::size_t kDataBusWidthOffset = 0x06;
constexpr std::size_t kSlotIdOffset = 0x09;
constexpr std::size_t kCharacteristics2Offset = 0x0C;
constexpr std::uint8_t kHotPlugSupported = 0x02;

constexpr std::uint8_t kFirstPciExpress = 0xA5;
constexpr std::uint8_t kLastPciExpress = 0xB0;

constexpr std::uint16_t kLayoutUnknown = 0;
constexpr std::uint16_t kLayoutPci = 16;
constexpr std::uint16_t kLayoutPciX = 17;
constexpr std::uint16_t kLayoutPciExpress = 18;

std::uint16_t Layout(const SystemSlot& slot, std::uint16_t unlistedExpressWidth) noexcept {
    if (slot.slotType == kSlotTypePciX) return kLayoutPciX;
    if (slot.slotType == kSlotTypePci66 || slot.slotType == kSlotTypePci) return kLayoutPci;
    if (!IsPciExpress(slot.slotType)) return kLayoutUnknown;
    switch (slot.dataBusWidth) {
        case 0x08:
            return 19;  // x1
        case 0x09:
            return 20;  // x2
        case 0x0A:
            return 21;  // x4
        case 0x0B:
            return 22;  // x8
        case 0x0D:
            return 23;  // x16
        case 0x0E:
            return 24;  // x32
        case 0x0F:
            return 25;  // x64 to CIM; the firmware's code list ends at x32
        default:
            return unlistedExpressWidth;
    }
}

}  // namespace

bool IsPciExpress(std::uint8_t slotType) noexcept {
    return slotType >= kFirstPciExpress && slotType <= kLastPciExpress;
}

bool IsPciSlotType(std::uint8_t slotType) noexcept {
    return slotType == kSlotTypePci || slotType == kSlotTypePci66 || slotType == kSlotTypePciX ||
           IsPciExpress(slotType);
}

SystemSlot DecodeSystemSlot(std::span<const std::uint8_t> formatted) noexcept {
    // Zeros are what each field's absence comes nearest to: no PCI slot type, no known width, the ID that no
    // printed slot number has, no hot-plug.
    const auto bytes = formatted.first(std::min(formatted.size(), kSystemSlotBytes));
    return {ReadUInt8(bytes, kSlotTypeOffset), ReadUInt8(bytes, kDataBusWidthOffset),
            ReadUInt16(bytes, kSlotIdOffset),
            (ReadUInt8(bytes, kCharacteristics2Offset) & kHotPlugSupported) != 0};
}

SystemSlots ReadSystemSlots(std::span<const std::uint8_t> table) {
    SystemSlots slots;
    StructureWalk walk(table);
    while (const std::optional<SmbiosStructure> structure = walk.Next()) {
        if (structure->type != kSystemSlotStructure) continue;
        slots.structures.push_back(DecodeSystemSlot(structure->formatted));
        if (IsPciSlotType(slots.structures.back().slotType)) ++slots.pciCount;
    }
    return slots;
}

const SystemSlot* FindSlotId(const SystemSlots& slots, std::uint16_t id) noexcept {
    const auto found = std::find_if(slots.structures.begin(), slots.structures.end(),
                                    [id](const SystemSlot& slot) { return slot.id == id; });
    return found == slots.structures.end() ? nullptr : &*found;
}

std::uint16_t ConnectorLayoutOfSlot(const SystemSlot& slot) noexcept {
    return Layout(slot, kLayoutPciExpress);
}

std::uint16_t BusLayoutOfCard(const SystemSlot& slot) noexcept { return Layout(slot, kLayoutPciX); }

}  // namespace velk
