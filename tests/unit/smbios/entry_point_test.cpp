#include "smbios/entry_point.h"

#include <gtest/gtest.h>

#include <numeric>

#include "smbios/guarded_bytes.h"
#include "support/made_entry_point.h"

namespace velk {
namespace {

using velktest::Bytes;
using velktest::EntryPoint;
using velktest::GuardedBytes;

/// 64 KiB of zeros with entry points in it.
class Firmware {
  public:
    Firmware& Put(std::size_t offset, const Bytes& bytes) {
        std::ranges::copy(bytes, bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
        return *this;
    }
    std::optional<SmbiosEntryPoint> Find() const { return FindEntryPoint(GuardedBytes(bytes_).Get()); }
    /// Address in the entry point that was found; 0 when none was.
    std::uint32_t FoundAddress() const { return Find().value_or(SmbiosEntryPoint{}).tableAddress; }

  private:
    Bytes bytes_ = Bytes(0x10000);
};

TEST(FindEntryPoint, ReadsTheTablesPlace) {
    const auto found =
        Firmware().Put(0x40, EntryPoint({.tableAddress = 0xCAFE1234, .tableLength = 0x0A2B})).Find();
    ASSERT_TRUE(found);
    EXPECT_EQ(found->tableAddress, 0xCAFE1234u);
    EXPECT_EQ(found->tableLength, 0x0A2B);
}

TEST(FindEntryPoint, LooksFromTheFirstByteToTheLastThatHasRoom) {
    EXPECT_EQ(Firmware().Put(0, EntryPoint({.tableAddress = 7})).FoundAddress(), 7u);
    EXPECT_EQ(Firmware().Put(0xFFE0, EntryPoint({.tableAddress = 7})).FoundAddress(), 7u);
}

TEST(FindEntryPoint, IsNoneInEmptyMemory) {
    EXPECT_FALSE(Firmware().Find());
    EXPECT_FALSE(FindEntryPoint({}));
}

TEST(FindEntryPoint, AnAnchorThatMemoryCutsOffIsNone) {
    Bytes cut = EntryPoint({.tableAddress = 7});
    cut.resize(16);
    EXPECT_FALSE(Firmware().Put(0xFFF0, cut).Find());
}

TEST(FindEntryPoint, AnyMultipleOfSixteenMayBeItsPlace) {
    for (const std::size_t offset : {0x10u, 0x20u, 0x50u, 0xFFD0u}) {
        EXPECT_EQ(Firmware().Put(offset, EntryPoint({.tableAddress = 7})).FoundAddress(), 7u) << offset;
    }
}

TEST(FindEntryPoint, AnchorsOffTheGridAreNotSeen) {
    for (std::size_t offset = 1; offset < 16; ++offset) {
        EXPECT_FALSE(Firmware().Put(0x40 + offset, EntryPoint({.tableAddress = 7})).Find()) << offset;
    }
}

TEST(FindEntryPoint, ABadChecksumRejectsAndTheScanGoesOn) {
    Bytes bad = EntryPoint({.tableAddress = 7});
    ++bad[4];
    EXPECT_FALSE(Firmware().Put(0x40, bad).Find());
    EXPECT_EQ(Firmware().Put(0x40, bad).Put(0x80, EntryPoint({.tableAddress = 9})).FoundAddress(), 9u);
}

TEST(FindEntryPoint, TheChecksumCoversTheEntryPointsOwnLength) {
    Bytes longer = EntryPoint({.length = 0x30, .tableAddress = 7});
    longer.resize(0x30);
    EXPECT_EQ(Firmware().Put(0x40, longer).FoundAddress(), 7u);
    longer.back() = 1;
    EXPECT_FALSE(Firmware().Put(0x40, longer).Find());
}

TEST(FindEntryPoint, ALengthOfZeroIsAcceptedWithoutChecksum) {
    Bytes unsummed = EntryPoint({.length = 0, .tableAddress = 7});
    unsummed[4] = 0x5A;
    EXPECT_EQ(Firmware().Put(0x40, unsummed).FoundAddress(), 7u);
}

TEST(FindEntryPoint, ALengthThatIsAllOfTheMemoryLeftIsAccepted) {
    EXPECT_EQ(Firmware().Put(0xFFE0, EntryPoint({.length = 0x20, .tableAddress = 7})).FoundAddress(), 7u);
    EXPECT_FALSE(Firmware().Put(0xFFE0, EntryPoint({.length = 0x21, .tableAddress = 7})).Find());
}

TEST(FindEntryPoint, ALengthBeyondMemoryIsRejected) {
    EXPECT_FALSE(Firmware().Put(0xFFE0, EntryPoint({.length = 0xFF, .tableAddress = 7})).Find());
}

TEST(FindEntryPoint, VersionsBelow21AreRejectedAndTheScanGoesOn) {
    const Bytes old = EntryPoint({.major = 2, .minor = 0, .tableAddress = 7});
    EXPECT_FALSE(Firmware().Put(0x40, old).Find());
    EXPECT_FALSE(Firmware().Put(0x40, EntryPoint({.major = 1, .minor = 0xFF, .tableAddress = 7})).Find());
    EXPECT_EQ(Firmware().Put(0x40, old).Put(0x60, EntryPoint({.tableAddress = 9})).FoundAddress(), 9u);
    EXPECT_FALSE(Firmware().Put(0x40, EntryPoint({.length = 0, .major = 2, .minor = 0})).Find())
        << "also without checksum";
}

TEST(FindEntryPoint, VersionsFrom21AreAccepted) {
    EXPECT_TRUE(Firmware().Put(0x40, EntryPoint({.major = 2, .minor = 1})).Find());
    EXPECT_TRUE(Firmware().Put(0x40, EntryPoint({.major = 3, .minor = 0})).Find());
}

TEST(FindEntryPoint, TheFirstOfSeveralValidOnesIsTaken) {
    EXPECT_EQ(Firmware()
                  .Put(0x100, EntryPoint({.tableAddress = 2}))
                  .Put(0x80, EntryPoint({.tableAddress = 1}))
                  .FoundAddress(),
              1u);
}

}  // namespace
}  // namespace velk
