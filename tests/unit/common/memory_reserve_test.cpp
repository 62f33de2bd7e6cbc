#include "common/memory_reserve.h"

#include <gtest/gtest.h>

#include <new>

#include "support/usage.h"

namespace velk {
namespace {

/// The heap of this program in steps of the reserve's size, which what else happens here does not fill.
std::size_t HeapInReserves() {
    constexpr std::size_t kReserve = 0x4000;
    static const std::size_t atFirst = velktest::Usage::Now().heapBytes;
    return (velktest::Usage::Now().heapBytes - atFirst + kReserve / 2) / kReserve;
}

class MemoryReserveTest : public testing::Test {
  protected:
    MemoryReserveTest() {
        EXPECT_EQ(HeapInReserves(), 0U);
        MemoryReserveObject().Create();
    }
    ~MemoryReserveTest() override { MemoryReserveObject().Destroy(); }
};

TEST_F(MemoryReserveTest, IsThereFromTheBeginningToTheEnd) {
    EXPECT_EQ(HeapInReserves(), 1U);
    MemoryReserveObject().Destroy();
    EXPECT_EQ(HeapInReserves(), 0U);
    EXPECT_EQ(std::get_new_handler(), nullptr);
}

TEST_F(MemoryReserveTest, IsGivenBackByWhatThrows) {
    EXPECT_THROW(ThrowOutOfMemory(), std::bad_alloc);
    EXPECT_EQ(HeapInReserves(), 0U);
    EXPECT_THROW(ThrowOutOfMemory(), std::bad_alloc) << "a second time there is nothing to give back";
}

TEST_F(MemoryReserveTest, IsGivenBackByOperatorNewThatFindsNoMemory) {
    volatile std::size_t tooMuch = static_cast<std::size_t>(-1) / 4;
    EXPECT_THROW(::operator delete(::operator new(tooMuch)), std::bad_alloc);
    EXPECT_EQ(HeapInReserves(), 0U);
}

TEST_F(MemoryReserveTest, IsRefilledOnce) {
    MemoryReserveObject().Get()->GiveBack();
    RefillMemoryReserve();
    EXPECT_EQ(HeapInReserves(), 1U);
    RefillMemoryReserve();
    EXPECT_EQ(HeapInReserves(), 1U);
}

TEST(MemoryReserve, WithoutOneNothingIsKept) {
    RefillMemoryReserve();
    EXPECT_THROW(ThrowOutOfMemory(), std::bad_alloc);
}

}  // namespace
}  // namespace velk
