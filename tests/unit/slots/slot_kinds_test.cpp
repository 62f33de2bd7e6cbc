#include "slots/slot_kinds.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>

namespace velk {
namespace {

/// Both layouts of a slot of a width.
std::pair<int, int> Layouts(SlotKind kind, int width) {
    const SystemSlot slot{.kind = kind, .dataBusWidth = static_cast<std::uint8_t>(width)};
    return {ConnectorLayoutOfSlot(slot), BusLayoutOfCard(slot)};
}

TEST(SlotKinds, ThePciExpressLayoutFollowsTheWidth) {
    const std::map<int, int> listed = {{0x08, 19}, {0x09, 20}, {0x0A, 21}, {0x0B, 22},
                                       {0x0D, 23}, {0x0E, 24}, {0x0F, 25}};
    for (int width = 0; width < 256; ++width) {
        const auto found = listed.find(width);
        // A slot of an unlisted width is plain PCI Express, the card in it is PCI-X.
        const auto expected =
            found == listed.end() ? std::pair(18, 17) : std::pair(found->second, found->second);
        EXPECT_EQ(Layouts(SlotKind::kPciExpress, width), expected) << width;
    }
}

TEST(SlotKinds, TheOtherLayoutsIgnoreTheWidth) {
    for (int width = 0; width < 256; ++width) {
        EXPECT_EQ(Layouts(SlotKind::kPciX, width), std::pair(17, 17));
        EXPECT_EQ(Layouts(SlotKind::kPci66, width), std::pair(16, 16));
        EXPECT_EQ(Layouts(SlotKind::kPci, width), std::pair(16, 16));
        EXPECT_EQ(Layouts(SlotKind::kOther, width), std::pair(0, 0));
    }
}

}  // namespace
}  // namespace velk
