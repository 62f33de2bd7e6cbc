#include "smbios/structure_table.h"

#include <gmock/gmock.h>

#include <array>

#include "smbios/guarded_bytes.h"
#include "smbios/system_slot.h"
#include "support/smbios_builder.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using velktest::Bytes;
using velktest::GuardedBytes;
using velktest::SmbiosBuilder;

std::vector<int> TypesOf(std::span<const std::uint8_t> table) {
    std::vector<int> types;
    StructureWalk walk(table);
    while (const auto structure = walk.Next()) types.push_back(structure->type);
    return types;
}

/// The walk over a copy behind which memory ends.
std::vector<int> TypesOfGuarded(const Bytes& table) { return TypesOf(GuardedBytes(table).Get()); }

TEST(StructureWalk, VisitsStructuresInTableOrder) {
    const Bytes table = SmbiosBuilder().Add(0, Bytes(20), {"a", "bc"}).Add(9, Bytes(13)).Add(127, {}).Table();
    EXPECT_THAT(TypesOfGuarded(table), ElementsAre(0, 9, 127));
}

TEST(StructureWalk, GivesTheFormattedAreaWithItsHeader) {
    const Bytes table = SmbiosBuilder().Add(1, {0xAA, 0xBB}, {"text"}).Table();
    const auto structure = StructureWalk(table).Next();
    ASSERT_TRUE(structure);
    EXPECT_THAT(structure->formatted, ElementsAre(1, 6, 0, 0, 0xAA, 0xBB));
    EXPECT_THAT(structure->stringSet, ElementsAre('t', 'e', 'x', 't', 0, 0));
}

TEST(StructureWalk, DoubleZeroInsideTheFormattedAreaDoesNotEndTheStructure) {
    EXPECT_THAT(TypesOfGuarded(SmbiosBuilder().Add(1, Bytes(30)).Add(2, {}).Table()), ElementsAre(1, 2));
}

TEST(StructureWalk, EndOfTableStructureIsAStructureLikeAnyOther) {
    EXPECT_THAT(TypesOfGuarded(SmbiosBuilder().Add(1, {}).Add(127, {}).Add(9, {}).Table()),
                ElementsAre(1, 127, 9));
}

TEST(StructureWalk, AnEmptyTableHasNoStructure) { EXPECT_THAT(TypesOfGuarded({}), IsEmpty()); }

TEST(StructureWalk, StaysAtTheEndOnceItIsThere) {
    StructureWalk walk({});
    EXPECT_FALSE(walk.Next());
    EXPECT_FALSE(walk.Next());
}

TEST(StructureWalk, ATableWithoutItsLastDoubleZeroKeepsItsLastStructure) {
    Bytes table = SmbiosBuilder().Add(1, {}).Add(9, Bytes(13)).Table();
    table.pop_back();
    EXPECT_THAT(TypesOfGuarded(table), ElementsAre(1, 9));
    table.pop_back();
    EXPECT_THAT(TypesOfGuarded(table), ElementsAre(1, 9));
    table.pop_back();
    EXPECT_THAT(TypesOfGuarded(table), ElementsAre(1, 9)) << "the formatted area itself is cut off";
}

TEST(StructureWalk, AByteBehindTheLastStructureIsAStructureOfThatTypeWithNothingInIt) {
    const Bytes table = SmbiosBuilder().Add(1, {}).AddRaw({9}).Table();
    const GuardedBytes guarded(table);
    EXPECT_THAT(TypesOf(guarded.Get()), ElementsAre(1, 9));
    EXPECT_EQ(FindStructureOfType(guarded.Get(), 9, 0)->formatted.size(), 0u) << "no length byte";
}

TEST(StructureWalk, ALengthBeyondTheEndLeavesTheBytesThatAreThere) {
    const Bytes table = SmbiosBuilder().Add(1, {}).AddRaw({9, 7, 0xA, 0xB, 0xC, 0xD}).Table();
    const GuardedBytes guarded(table);
    EXPECT_THAT(TypesOf(guarded.Get()), ElementsAre(1, 9)) << "seven bytes announced, six there";
    const auto last = FindStructureOfType(guarded.Get(), 9, 0);
    ASSERT_TRUE(last);
    EXPECT_THAT(last->formatted, ElementsAre(9, 7, 0xA, 0xB, 0xC, 0xD));
    EXPECT_THAT(last->stringSet, IsEmpty());
    EXPECT_THAT(StringsOf(*last), IsEmpty());
    EXPECT_THAT(TypesOfGuarded(SmbiosBuilder().Add(1, {}).AddRaw({9, 0xFF}).Table()), ElementsAre(1, 9));
}

TEST(StructureWalk, ALengthShorterThanAHeaderIsTakenAtItsWordAndTheWalkGoesOn) {
    for (std::uint8_t length = 0; length < 4; ++length) {
        const Bytes table = SmbiosBuilder().AddRaw({9, length, 1, 1, 0, 0}).Add(2, {}).Table();
        const GuardedBytes guarded(table);
        StructureWalk walk(guarded.Get());
        const auto first = walk.Next();
        ASSERT_TRUE(first);
        EXPECT_EQ(first->type, 9);
        EXPECT_EQ(first->formatted.size(), length);
        EXPECT_THAT(TypesOf(guarded.Get()), ElementsAre(9, 2));
    }
}

TEST(StructureWalk, ZerosBetweenStructuresHideTheNextOneWhereTheirNumberIsOdd) {
    const Bytes table = SmbiosBuilder().Add(1, {}).AddRaw(Bytes(7)).Add(9, {}).Table();
    // Seven zeros are three empty structures and, as its type, the first byte of the next: rubbish of odd
    // length takes one structure with it.
    EXPECT_THAT(TypesOfGuarded(table), ElementsAre(1, 0, 0, 0, 0));
    const Bytes even = SmbiosBuilder().Add(1, {}).AddRaw(Bytes(8)).Add(9, {}).Table();
    EXPECT_THAT(TypesOfGuarded(even), ElementsAre(1, 0, 0, 0, 0, 9));
}

TEST(StructureWalk, AtEachTruncationFindsEveryStructureThatHasBegun) {
    SmbiosBuilder builder;
    std::vector<std::size_t> starts;
    const auto add = [&](std::uint8_t type, std::size_t body, const std::vector<std::string>& strings) {
        starts.push_back(builder.Table().size());
        builder.Add(type, Bytes(body, 0x55), strings);
    };
    add(1, 20, {"maker", "name", "x"});
    add(9, 13, {});
    add(2, 0, {"only"});
    add(9, 9, {"slot"});
    add(127, 0, {});

    const Bytes& table = builder.Table();
    for (std::size_t length = 0; length <= table.size(); ++length) {
        const GuardedBytes guarded{std::span<const std::uint8_t>(table).first(length)};
        const auto begun =
            std::ranges::count_if(starts, [length](std::size_t start) { return start < length; });
        StructureWalk walk(guarded.Get());
        std::ptrdiff_t found = 0;
        while (const auto structure = walk.Next()) {
            ++found;
            for (const std::string_view text : StringsOf(*structure)) EXPECT_FALSE(text.empty());
        }
        EXPECT_EQ(found, begun) << "table cut to " << length;
    }
}

TEST(StructureWalk, NeverLeavesTheTableWhateverOneByteSays) {
    const Bytes good = SmbiosBuilder()
                           .Add(0, Bytes(20, 1), {"maker", "2.6", "date"})
                           .AddSlot({.id = 3})
                           .Add(2, Bytes(4), {"board"})
                           .AddSlot({.id = 0x0102}, 13)
                           .Add(127, {})
                           .Table();
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (const std::uint8_t value : Bytes{0x00, 0x01, 0x7F, 0xFF}) {
            Bytes bad = good;
            bad[at] = value;
            const GuardedBytes guarded(bad);
            const std::span<const std::uint8_t> table = guarded.Get();
            const std::uint8_t* reached = table.data();
            std::size_t structures = 0;
            StructureWalk walk(table);
            while (const auto structure = walk.Next()) {
                ++structures;
                EXPECT_EQ(structure->formatted.data(), reached) << "structures are adjacent";
                reached = structure->stringSet.data() + structure->stringSet.size();
                EXPECT_LE(reached, table.data() + table.size());
                for (const std::string_view text : StringsOf(*structure)) EXPECT_FALSE(text.empty());
            }
            EXPECT_EQ(reached, table.data() + table.size()) << "the walk ends at the end alone";
            EXPECT_LE(structures, (good.size() + 1) / 2) << "each step but the last takes two bytes at least";
            EXPECT_LE(ReadSystemSlots(table, ExpressTypes::kModern).structures.size(), structures);
        }
    }
}

TEST(FindStructureOfType, CountsAmongStructuresOfTheTypeAlone) {
    const Bytes table = SmbiosBuilder().Add(9, {1}).Add(2, {2}).Add(9, {3}).Add(127, {}).Add(9, {4}).Table();
    const auto bodyOf = [&](std::uint8_t type, std::size_t occurrence) {
        const auto found = FindStructureOfType(table, type, occurrence);
        return found ? int{found->formatted[4]} : -1;
    };
    EXPECT_EQ(bodyOf(9, 0), 1);
    EXPECT_EQ(bodyOf(9, 1), 3);
    EXPECT_EQ(bodyOf(9, 2), 4);
    EXPECT_EQ(bodyOf(9, 3), -1);
    EXPECT_EQ(bodyOf(2, 0), 2);
    EXPECT_EQ(bodyOf(3, 0), -1);
}

std::vector<std::string_view> StringsOfFirst(std::span<const std::uint8_t> table) {
    const auto structure = StructureWalk(table).Next();
    return structure ? StringsOf(*structure) : std::vector<std::string_view>{"no structure"};
}

TEST(StringsOf, GivesEachStringOfTheSet) {
    const Bytes table = SmbiosBuilder().Add(1, {}, {"one", "two", "three"}).Add(2, {}, {"other"}).Table();
    EXPECT_THAT(StringsOfFirst(table), ElementsAre("one", "two", "three"));
}

TEST(StringsOf, IsEmptyWithoutStrings) {
    EXPECT_THAT(StringsOfFirst(SmbiosBuilder().Add(1, {}).Table()), IsEmpty());
}

TEST(StringsOf, LeavesOutAStringThatTheTablesEndCutsOff) {
    Bytes table = SmbiosBuilder().Add(1, {}, {"one", "two"}).Table();
    table.pop_back();
    EXPECT_THAT(StringsOfFirst(GuardedBytes(table).Get()), ElementsAre("one", "two"))
        << "the second zero alone is missing";
    table.pop_back();
    EXPECT_THAT(StringsOfFirst(GuardedBytes(table).Get()), ElementsAre("one"));
}

}  // namespace
}  // namespace velk
