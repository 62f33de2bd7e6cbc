#include "slots/velk_pci_card_list.h"

#include <limits>
#include <optional>
#include <set>
#include <utility>

#include "slots/slot_kinds.h"
#include "slots/slot_texts.h"
#include "smbios/smbios_table.h"

namespace velk {

namespace {

/// The firmware's slots, read when the first card asks for one, and by each card again as long as there is no
/// table: a load that failed is tried again at the next need.
class FirmwareSlots {
  public:
    /// The slot with exactly this number, or null.
    const SystemSlot* Find(std::uint32_t number) {
        if (!slots_) slots_ = Smbios().ReadSlots();
        if (!slots_ || number > std::numeric_limits<std::uint16_t>::max()) return nullptr;
        return FindSlotId(*slots_, static_cast<std::uint16_t>(number));
    }

  private:
    std::optional<SystemSlots> slots_;
};

CVelkPCICard MakeCard(std::uint32_t slotNumber, std::uint16_t busLayout) {
    CVelkPCICard card;
    card.tag = CardTag(slotNumber);
    card.caption = card.tag;
    card.name = card.tag;
    card.description = card.tag;
    card.elementName = card.tag;
    card.vendorCompatibilityStrings = {CompatibilityText()};
    card.busLayout = busLayout;
    return card;
}

}  // namespace

CVelkPCICardList::CVelkPCICardList() : CDerivedList(PciDeviceList()) {}

bool CVelkPCICardList::RebuildFrom(const CVelkPCIDeviceList& functions) {
    Clear();
    FirmwareSlots firmwareSlots;
    std::set<std::uint32_t> seen;
    // A slot that the firmware does not describe takes the layout of the card before it; the first, unknown.
    std::uint16_t busLayout = 0;
    for (const CVelkPCIDevice& function : functions) {
        // As a signed number, so that 0xFFFFFFFF ("none" to some firmware) is no slot either.
        if (static_cast<std::int32_t>(function.uiNumber) < 1) continue;
        if (!seen.insert(function.uiNumber).second) continue;
        if (const SystemSlot* const slot = firmwareSlots.Find(function.uiNumber)) {
            busLayout = BusLayoutOfCard(*slot);
        }
        Append(MakeCard(function.uiNumber, busLayout));
    }
    return true;
}

}  // namespace velk
