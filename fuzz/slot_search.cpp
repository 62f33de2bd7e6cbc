#include "slots/slot_search.h"
#include "slots/slot_kinds.h"

#include <algorithm>

#include "fuzz/input.h"
#include "smbios/structure_table.h"

using velk::ExpressTypes;
using velk::SlotKind;
using velk::SystemSlot;
using velkfuzz::Require;

namespace {

/// The first number behind `number` whose low 16 bits are the ID.
std::uint64_t NextNumberOf(std::uint16_t id, std::uint64_t number) {
    return number + 1 + static_cast<std::uint16_t>(id - (number + 1));
}

void CheckDecoding(std::span<const std::uint8_t> area, ExpressTypes express, const SystemSlot& slot) {
    if (area.size() >= 13) {
        Require(slot.kind == velk::KindOfSlotType(area[5], express) && slot.dataBusWidth == area[6] &&
                    slot.id == (area[9] | area[10] << 8) && slot.supportsHotPlug == ((area[12] & 2) != 0),
                "the fields are read from their places");
    }
    const std::uint16_t slotLayout = velk::ConnectorLayoutOfSlot(slot);
    const std::uint16_t cardLayout = velk::BusLayoutOfCard(slot);
    Require(slotLayout == 0 || (slotLayout >= 16 && slotLayout <= 25), "the layout is one that CIM has");
    Require(slotLayout == cardLayout || (slotLayout == 18 && cardLayout == 17),
            "slot and card differ in unlisted widths alone");
    Require((slotLayout != 0) == (slot.kind != SlotKind::kOther), "PCI slots and no others have a layout");
}

/// One reading of the table, and the search in it.
void CheckReading(std::span<const std::uint8_t> table, ExpressTypes express) {
    const velk::SystemSlots slots = velk::ReadSystemSlots(table, express);
    std::size_t decoded = 0;
    velk::StructureWalk walk(table);
    while (const auto structure = walk.Next()) {
        if (structure->type != velk::kSystemSlotStructure) continue;
        Require(decoded < slots.structures.size(), "every slot structure is read");
        CheckDecoding(structure->formatted, express, slots.structures[decoded++]);
    }
    Require(decoded == slots.structures.size(), "nothing but slot structures is read");

    std::uint64_t number = 0;
    const auto found = velk::FindSlots(slots);
    Require(found && found->size() == slots.pciCount, "as many are found as there are PCI slots");
    for (const auto& [at, slot] : *found) {
        std::uint64_t expected = ~std::uint64_t{0};
        for (const SystemSlot& candidate : slots.structures) {
            expected = std::min(expected, NextNumberOf(candidate.id, number));
        }
        Require(at == expected, "no number that finds a structure is missed");
        number = at;
        const SystemSlot* first = velk::FindSlotId(slots, static_cast<std::uint16_t>(at));
        Require(first != nullptr && first->id == slot.id && first->kind == slot.kind &&
                    first->dataBusWidth == slot.dataBusWidth &&
                    first->supportsHotPlug == slot.supportsHotPlug,
                "the first structure with the number is found");
    }
}

}  // namespace

// Each type 9 structure is decoded from within its area. The search finds, for each number from 1 up, the
// first structure with that ID, misses none, and finds as many as there are PCI slots.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto table = velkfuzz::Bytes(data, size);
    CheckReading(table, ExpressTypes::kToGeneration2);
    CheckReading(table, ExpressTypes::kModern);
    return 0;
}
