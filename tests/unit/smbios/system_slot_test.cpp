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

constexpr auto kOff = ExpressTypes::kToGeneration2;
constexpr auto kOn = ExpressTypes::kModern;

/// The slot types, of all that a byte can hold, that are of a kind.
std::vector<int> TypesOf(SlotKind kind, ExpressTypes express) {
    std::vector<int> types;
    for (int type = 0; type < 256; ++type) {
        if (KindOfSlotType(static_cast<std::uint8_t>(type), express) == kind) types.push_back(type);
    }
    return types;
}

TEST(SystemSlot, PciSlotTypesAreThoseOfTheOldListAndTheFirstTwoPciExpressGenerations) {
    EXPECT_THAT(TypesOf(SlotKind::kPci, kOff), ElementsAre(0x06));
    EXPECT_THAT(TypesOf(SlotKind::kPci66, kOff), ElementsAre(0x0E));
    EXPECT_THAT(TypesOf(SlotKind::kPciX, kOff), ElementsAre(0x12));
    EXPECT_THAT(TypesOf(SlotKind::kPciExpress, kOff),
                ElementsAre(0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xAB, 0xAC, 0xAD, 0xAE, 0xAF, 0xB0));
    EXPECT_EQ(TypesOf(SlotKind::kOther, kOff).size(), 256u - 15);
}

TEST(SystemSlot, ModernSlotTypesAreTheLaterPciExpressGenerationsWithoutTheReservedOne) {
    EXPECT_THAT(TypesOf(SlotKind::kPci, kOn), ElementsAre(0x06));
    EXPECT_THAT(TypesOf(SlotKind::kPci66, kOn), ElementsAre(0x0E));
    EXPECT_THAT(TypesOf(SlotKind::kPciX, kOn), ElementsAre(0x12));
    EXPECT_THAT(TypesOf(SlotKind::kPciExpress, kOn),
                ElementsAre(0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA,  // generation 1
                            0xAB, 0xAC, 0xAD, 0xAE, 0xAF, 0xB0,  // 2
                            0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6,  // 3; B7h is reserved
                            0xB8, 0xB9, 0xBA, 0xBB, 0xBC, 0xBD,  // 4
                            0xBE, 0xBF, 0xC0, 0xC1, 0xC2, 0xC3,  // 5
                            0xC4));                              // 6; then come the drive bays
    EXPECT_EQ(TypesOf(SlotKind::kOther, kOn).size(), 256u - 34);
}

TEST(SystemSlot, DecodesEachField) {
    const Bytes bytes = {9, 17, 0, 0, 0xFF, 0xA9, 0x0B, 0xFF, 0xFF, 0x34, 0x12, 0xFF, 0x02, 0, 0, 0, 0};
    const SystemSlot slot = DecodeSystemSlot(bytes, kOff);
    EXPECT_EQ(slot.kind, SlotKind::kPciExpress);
    EXPECT_EQ(slot.dataBusWidth, 0x0B);
    EXPECT_EQ(slot.id, 0x1234);
    EXPECT_TRUE(slot.supportsHotPlug);
}

TEST(SystemSlot, HotPlugIsOneBitOfItsByte) {
    Bytes bytes(17);
    bytes[0x0C] = 0xFD;
    EXPECT_FALSE(DecodeSystemSlot(bytes, kOff).supportsHotPlug);
    bytes[0x0C] = 0x02;
    EXPECT_TRUE(DecodeSystemSlot(bytes, kOff).supportsHotPlug);
}

TEST(SystemSlot, FieldsThatAShortStructureLacksReadAsZero) {
    Bytes whole(17, 0xFF);
    whole[0x05] = 0x06;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const SystemSlot slot = DecodeSystemSlot(std::span(whole).first(length), kOff);
        EXPECT_EQ(slot.kind, length > 0x05 ? SlotKind::kPci : SlotKind::kOther) << length;
        EXPECT_EQ(slot.dataBusWidth, length > 0x06 ? 0xFF : 0) << length;
        EXPECT_EQ(slot.id, (length > 0x09 ? 0xFF : 0) | (length > 0x0A ? 0xFF00 : 0)) << length;
        EXPECT_EQ(slot.supportsHotPlug, length > 0x0C) << length;
    }
}

TEST(SystemSlot, ReadsTheStructuresOfATableInOrderAndCountsThePciOnes) {
    const Bytes table = TableOfSlots({{.id = 5, .type = 0x06},
                                      {.id = 1, .type = 0x03},
                                      {.id = 5, .type = 0xA5},
                                      {.id = 2, .type = 0xA4},
                                      {.id = 3, .type = 0xB0},
                                      {.id = 4, .type = 0xB1}});
    const SystemSlots slots = ReadSystemSlots(table, kOff);
    std::vector<int> ids;
    for (const SystemSlot& slot : slots.structures) ids.push_back(slot.id);
    EXPECT_THAT(ids, ElementsAre(5, 1, 5, 2, 3, 4));
    EXPECT_EQ(slots.pciCount, 3u);
    EXPECT_EQ(ReadSystemSlots(table, kOn).pciCount, 4u);
}

TEST(SystemSlot, ALengthByteBelowTheSlotTypeMakesNoPciSlot) {
    const Bytes table = SmbiosBuilder().AddSlot({}, 5).AddSlot({}, 6).Table();
    EXPECT_EQ(ReadSystemSlots(table, kOff).pciCount, 1u);
}

TEST(SystemSlot, TheFirstStructureWithAnIdIsTheOneFound) {
    const SystemSlots slots =
        ReadSystemSlots(TableOfSlots({{.id = 1}, {.id = 2, .type = 0x03}, {.id = 2, .type = 0x06}}), kOff);
    ASSERT_NE(FindSlotId(slots, 2), nullptr);
    EXPECT_EQ(FindSlotId(slots, 2)->kind, SlotKind::kOther);
    EXPECT_EQ(FindSlotId(slots, 3), nullptr);
}

}  // namespace
}  // namespace velk
