#include "slots/slot_kinds.h"

#include <algorithm>
#include <iterator>

namespace velk {

namespace {

constexpr std::uint16_t kConnectorOther = 1;
constexpr std::uint16_t kLayoutPciX = 17;

constexpr SlotKindRow kRows[] = {
    {SlotKind::kPci, 118, 43, 16},
    {SlotKind::kPci66, 117, 80, 16},
    {SlotKind::kPciX, 116, 98, kLayoutPciX},
    {SlotKind::kPciExpress, 119, kConnectorOther, 18},
    {SlotKind::kOther, 0, kConnectorOther, 0},
};

/// The layouts of PCI Express by the firmware's code of the data bus width (SMBIOS 7.10.2).
struct WidthRow {
    std::uint8_t width;
    std::uint16_t layout;
};
constexpr WidthRow kExpressWidths[] = {
    {0x08, 19},  // x1
    {0x09, 20},  // x2
    {0x0A, 21},  // x4
    {0x0B, 22},  // x8
    {0x0D, 23},  // x16
    {0x0E, 24},  // x32
    {0x0F, 25},  // x64 to CIM; the firmware's code list ends at x32
};

std::uint16_t Layout(const SystemSlot& slot, std::uint16_t unlistedExpressWidth) noexcept {
    if (slot.kind != SlotKind::kPciExpress) return RowOf(slot.kind).layout;
    const auto* const row = std::ranges::find(kExpressWidths, slot.dataBusWidth, &WidthRow::width);
    return row == std::end(kExpressWidths) ? unlistedExpressWidth : row->layout;
}

}  // namespace

const SlotKindRow& RowOf(SlotKind kind) noexcept {
    return *std::ranges::find(kRows, kind, &SlotKindRow::kind);
}

std::uint16_t ConnectorLayoutOfSlot(const SystemSlot& slot) noexcept {
    return Layout(slot, RowOf(slot.kind).layout);
}

std::uint16_t BusLayoutOfCard(const SystemSlot& slot) noexcept { return Layout(slot, kLayoutPciX); }

}  // namespace velk
