#include "smbios/system_slot.h"

#include <gmock/gmock.h>

#include <map>

#include "support/smbios_builder.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::Bytes;
using velktest::SmbiosBuilder;
using velktest::TableOfSlots;

TEST(SystemSlot, PciSlotTypesAreThoseOfTheOldListAndTheFirstTwoPciExpressGenerations) {
    for (int type = 0; type < 256; ++type) {
        const bool express = type >= 0xA5 && type <= 0xB0;
        const bool pci = type == 0x06 || type == 0x0E || type == 0x12 || express;
        EXPECT_EQ(IsPciSlotType(static_cast<std::uint8_t>(type)), pci) << type;
        EXPECT_EQ(IsPciExpress(static_cast<std::uint8_t>(type)), express) << type;
    }
}

TEST(SystemSlot, DecodesEachField) {
    const Bytes bytes = {9, 17, 0, 0, 0xFF, 0xA9, 0x0B, 0xFF, 0xFF, 0x34, 0x12, 0xFF, 0x02, 0, 0, 0, 0};
    const SystemSlot slot = DecodeSystemSlot(bytes);
    EXPECT_EQ(slot.slotType, 0xA9);
    EXPECT_EQ(slot.dataBusWidth, 0x0B);
    EXPECT_EQ(slot.id, 0x1234);
    EXPECT_TRUE(slot.supportsHotPlug);
}

TEST(SystemSlot, HotPlugIsOneBitOfItsByte) {
    Bytes bytes(17);
    bytes[0x0C] = 0xFD;
    EXPECT_FALSE(DecodeSystemSlot(bytes).supportsHotPlug);
    bytes[0x0C] = 0x02;
    EXPECT_TRUE(DecodeSystemSlot(bytes).supportsHotPlug);
}

TEST(SystemSlot, FieldsThatAShortStructureLacksReadAsZero) {
    const Bytes whole(17, 0xFF);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const SystemSlot slot = DecodeSystemSlot(std::span(whole).first(length));
        EXPECT_EQ(slot.slotType, length > 0x05 ? 0xFF : 0) << length;
        EXPECT_EQ(slot.dataBusWidth, length > 0x06 ? 0xFF : 0) << length;
        EXPECT_EQ(slot.id, (length > 0x09 ? 0xFF : 0) | (length > 0x0A ? 0xFF00 : 0)) << length;
        EXPECT_EQ(slot.supportsHotPlug, length > 0x0C) << length;
    }
}

TEST(SystemSlot, ReadsTheStructuresOfATableInOrderAndCountsThePciOnes) {
    const SystemSlots slots = ReadSystemSlots(TableOfSlots({{.id = 5, .type = 0x06},
                                                            {.id = 1, .type = 0x03},
                                                            {.id = 5, .type = 0xA5},
                                                            {.id = 2, .type = 0xA4},
                                                            {.id = 3, .type = 0xB0},
                                                            {.id = 4, .type = 0xB1}}));
    std::vector<int> ids;
    for (const SystemSlot& slot : slots.structures) ids.push_back(slot.id);
    EXPECT_THAT(ids, ElementsAre(5, 1, 5, 2, 3, 4));
    EXPECT_EQ(slots.pciCount, 3u);
}

TEST(SystemSlot, ALengthByteBelowTheSlotTypeMakesNoPciSlot) {
    const Bytes table = SmbiosBuilder().AddSlot({}, 5).AddSlot({}, 6).Table();
    EXPECT_EQ(ReadSystemSlots(table).pciCount, 1u);
}

TEST(SystemSlot, TheFirstStructureWithAnIdIsTheOneFound) {
    const SystemSlots slots =
        ReadSystemSlots(TableOfSlots({{.id = 1}, {.id = 2, .type = 0x03}, {.id = 2, .type = 0x06}}));
    ASSERT_NE(FindSlotId(slots, 2), nullptr);
    EXPECT_EQ(FindSlotId(slots, 2)->slotType, 0x03);
    EXPECT_EQ(FindSlotId(slots, 3), nullptr);
}

/// Both layouts of a slot type and width.
std::pair<int, int> Layouts(int type, int width) {
    const SystemSlot slot{.slotType = static_cast<std::uint8_t>(type),
                          .dataBusWidth = static_cast<std::uint8_t>(width)};
    return {ConnectorLayoutOfSlot(slot), BusLayoutOfCard(slot)};
}

TEST(SystemSlot, ThePciExpressLayoutFollowsTheWidth) {
    const std::map<int, int> listed = {{0x08, 19}, {0x09, 20}, {0x0A, 21}, {0x0B, 22},
                                       {0x0D, 23}, {0x0E, 24}, {0x0F, 25}};
    for (int type = 0xA5; type <= 0xB0; ++type) {
        for (int width = 0; width < 256; ++width) {
            const auto found = listed.find(width);
            // A slot of an unlisted width is plain PCI Express, the card in it is PCI-X.
            const auto expected =
                found == listed.end() ? std::pair(18, 17) : std::pair(found->second, found->second);
            EXPECT_EQ(Layouts(type, width), expected) << type << ' ' << width;
        }
    }
}

TEST(SystemSlot, TheOtherLayoutsIgnoreTheWidth) {
    for (int width = 0; width < 256; ++width) {
        EXPECT_EQ(Layouts(0x12, width), std::pair(17, 17));
        EXPECT_EQ(Layouts(0x0E, width), std::pair(16, 16));
        EXPECT_EQ(Layouts(0x06, width), std::pair(16, 16));
        EXPECT_EQ(Layouts(0x03, width), std::pair(0, 0));
        EXPECT_EQ(Layouts(0xA4, width), std::pair(0, 0));
        EXPECT_EQ(Layouts(0xB1, width), std::pair(0, 0));
    }
}

}  // namespace
}  // namespace velk
