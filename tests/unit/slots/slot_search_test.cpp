#include "slots/slot_search.h"

#include <gmock/gmock.h>

#include <random>

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr SlotKind kPci = SlotKind::kPciExpress;
constexpr SlotKind kIsa = SlotKind::kOther;

SystemSlots SlotsOf(std::vector<SystemSlot> structures) {
    SystemSlots slots{std::move(structures), 0};
    for (const SystemSlot& slot : slots.structures) slots.pciCount += slot.kind == kIsa ? 0U : 1U;
    return slots;
}

/// PCI slots with these IDs. The width tells them apart: the place in the table.
SystemSlots PciSlots(const std::vector<std::uint16_t>& ids) {
    std::vector<SystemSlot> structures;
    for (const std::uint16_t id : ids) {
        structures.push_back(
            {.kind = kPci, .dataBusWidth = static_cast<std::uint8_t>(structures.size()), .id = id});
    }
    return SlotsOf(structures);
}

/// A number and the place in the table of the structure that it found.
using Hit = std::pair<std::uint32_t, int>;

std::vector<Hit> Hits(const SystemSlots& slots) {
    std::vector<Hit> hits;
    const auto found = FindSlots(slots);
    for (const auto& [number, slot] : found.value()) hits.emplace_back(number, slot.dataBusWidth);
    return hits;
}

std::vector<std::uint32_t> Numbers(const SystemSlots& slots) {
    std::vector<std::uint32_t> numbers;
    for (const Hit& hit : Hits(slots)) numbers.push_back(hit.first);
    return numbers;
}

TEST(SlotSearch, FindsSlotsInRisingNumberOrderWhateverTheirOrderInTheTable) {
    EXPECT_THAT(Hits(PciSlots({5, 1, 2, 3, 4})),
                ElementsAre(Pair(1, 1), Pair(2, 2), Pair(3, 3), Pair(4, 4), Pair(5, 0)));
}

TEST(SlotSearch, GapsInSlotIdsAreSkipped) {
    EXPECT_THAT(Numbers(PciSlots({1, 2, 5, 6})), ElementsAre(1, 2, 5, 6));
    EXPECT_THAT(Numbers(PciSlots({65535})), ElementsAre(65535));
}

TEST(SlotSearch, NoPciSlotsMeansNoSearch) {
    EXPECT_THAT(Hits(PciSlots({})), IsEmpty());
    EXPECT_THAT(Hits(SlotsOf({{.kind = kIsa, .id = 1}})), IsEmpty());
}

TEST(SlotSearch, AStructureOfAnotherTypeIsFoundLikeAnyOtherAndCostsAPciSlotItsPlace) {
    const SystemSlots slots = SlotsOf({{.kind = kIsa, .dataBusWidth = 0, .id = 1},
                                       {.kind = kPci, .dataBusWidth = 1, .id = 2},
                                       {.kind = kPci, .dataBusWidth = 2, .id = 3}});
    EXPECT_THAT(Hits(slots), ElementsAre(Pair(1, 0), Pair(2, 1)));
}

TEST(SlotSearch, SlotIdZeroIsFoundAt65536) {
    EXPECT_THAT(Hits(PciSlots({0, 2})), ElementsAre(Pair(2, 1), Pair(65536, 0)));
    EXPECT_THAT(Hits(PciSlots({0})), ElementsAre(Pair(65536, 0)));
}

TEST(SlotSearch, ARepeatedIdFindsTheFirstStructureAgainARoundLater) {
    EXPECT_THAT(Hits(PciSlots({1, 1, 2})), ElementsAre(Pair(1, 0), Pair(2, 2), Pair(65537, 0)));
    EXPECT_THAT(Hits(PciSlots({7, 7, 7})), ElementsAre(Pair(7, 0), Pair(65543, 0), Pair(131079, 0)));
    EXPECT_THAT(Hits(PciSlots({0, 0})), ElementsAre(Pair(65536, 0), Pair(131072, 0)));
}

TEST(SlotSearch, AFailedCountIsNoSearch) {
    SystemSlots slots = PciSlots({1, 2});
    slots.pciCount = 0xFFFFFFFF;
    EXPECT_EQ(FindSlots(slots), std::nullopt);
}

/// The rule itself, number by number: a limit that rises at each miss.
std::vector<Hit> FoundNumberByNumber(const SystemSlots& slots) {
    std::vector<Hit> hits;
    std::uint32_t limit = slots.pciCount;
    for (std::uint32_t number = 1; number <= limit; ++number) {
        if (const SystemSlot* slot = FindSlotId(slots, static_cast<std::uint16_t>(number))) {
            hits.emplace_back(number, slot->dataBusWidth);
        } else {
            ++limit;
        }
    }
    return hits;
}

TEST(SlotSearch, FindsWhatTryingNumberByNumberFinds) {
    std::mt19937 random(20260321);
    const auto upTo = [&](unsigned last) { return std::uniform_int_distribution<unsigned>(0, last)(random); };
    for (int round = 0; round < 60; ++round) {
        std::vector<SystemSlot> structures(upTo(12));
        for (std::size_t at = 0; at < structures.size(); ++at) {
            structures[at] = {.kind = upTo(3) == 0 ? kIsa : kPci,
                              .dataBusWidth = static_cast<std::uint8_t>(at),
                              .id = static_cast<std::uint16_t>(upTo(9) == 0 ? 0xFFFF - upTo(2) : upTo(14))};
        }
        const SystemSlots slots = SlotsOf(structures);
        EXPECT_EQ(Hits(slots), FoundNumberByNumber(slots)) << "round " << round;
    }
}

TEST(SlotSearch, TheLargestTableWithOneIdIsSearchedToItsEnd) {
    // Its slots are half a billion numbers apart in all: tried one by one, they would not be found before the
    // time for all tests is over. 64 KiB of the shortest structures that name a PCI slot type.
    const SystemSlots slots = PciSlots(std::vector<std::uint16_t>(0x10000 / 8, 0));
    EXPECT_EQ(Numbers(slots).back(), 0x10000u / 8 * 0x10000);
}

}  // namespace
}  // namespace velk
