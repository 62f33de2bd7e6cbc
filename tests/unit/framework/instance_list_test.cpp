#include "framework/instance_list.h"

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>

namespace velk {
namespace {

using ::testing::ElementsAre;

/// A list whose next rebuilds are programmed.
class ProgrammedList : public CInstanceList<int> {
  public:
    using CInstanceList::CInstanceList;

    std::function<bool(ProgrammedList&)> rebuild = [](ProgrammedList&) { return true; };
    int rebuilds = 0;
    using CInstanceList::Append;

  private:
    bool RebuildList() override {
        Clear();
        ++rebuilds;
        return rebuild(*this);
    }
};

TEST(InstanceList, StartsWithoutAGoodRebuild) {
    ProgrammedList list;
    EXPECT_FALSE(list.Succeeded());
    EXPECT_EQ(list.Count(), 0u);
}

TEST(InstanceList, GenerationsBeginAtTwoAndChangeWithEveryRebuild) {
    ProgrammedList list;
    EXPECT_EQ(list.RebuildAndStamp(), 2u);
    EXPECT_EQ(list.RebuildAndStamp(), 3u);
    EXPECT_EQ(list.RebuildAndStamp(), 4u);
    EXPECT_TRUE(list.Succeeded());
    EXPECT_EQ(list.rebuilds, 3);
}

TEST(InstanceList, AFailedRebuildIsGenerationZeroAndTheNextGoodOneIsTwoAgain) {
    ProgrammedList list;
    list.RebuildAndStamp();
    list.RebuildAndStamp();
    list.rebuild = [](ProgrammedList&) { return false; };
    EXPECT_EQ(list.RebuildAndStamp(), 0u);
    EXPECT_FALSE(list.Succeeded());
    EXPECT_EQ(list.RebuildAndStamp(), 0u);
    list.rebuild = [](ProgrammedList&) { return true; };
    EXPECT_EQ(list.RebuildAndStamp(), 2u);
}

TEST(InstanceList, AFailedRebuildLeavesNoRecord) {
    ProgrammedList list;
    list.rebuild = [](ProgrammedList& self) {
        self.Append(1);
        return false;
    };
    list.RebuildAndStamp();
    EXPECT_EQ(list.Count(), 0u);
}

TEST(InstanceList, AThrowingRebuildCountsAsFailedAndLeavesNoRecord) {
    ProgrammedList list;
    list.RebuildAndStamp();
    list.rebuild = [](ProgrammedList& self) -> bool {
        self.Append(1);
        throw std::bad_alloc();
    };
    EXPECT_THROW(list.RebuildAndStamp(), std::bad_alloc);
    EXPECT_FALSE(list.Succeeded());
    EXPECT_EQ(list.Count(), 0u);
    list.rebuild = [](ProgrammedList&) { return true; };
    EXPECT_EQ(list.RebuildAndStamp(), 2u);
}

TEST(InstanceList, RebuildIfChangedStoresTheNewGeneration) {
    ProgrammedList list;
    std::uint32_t cache = 0;
    EXPECT_TRUE(list.RebuildIfChanged(cache));
    EXPECT_EQ(cache, 2u);
    EXPECT_TRUE(list.RebuildIfChanged(cache));
    EXPECT_EQ(cache, 3u);
}

TEST(InstanceList, RebuildIfChangedIsFalseWhenTheGenerationIsTheCallersAlready) {
    ProgrammedList list;
    std::uint32_t cache = 2;
    EXPECT_FALSE(list.RebuildIfChanged(cache));
    EXPECT_EQ(cache, 2u);
    EXPECT_EQ(list.rebuilds, 1) << "it is rebuilt all the same";

    list.rebuild = [](ProgrammedList&) { return false; };
    cache = 0;
    EXPECT_FALSE(list.RebuildIfChanged(cache)) << "0 after 0 is no change";
}

TEST(InstanceList, KeepsRecordsInTheOrderOfAppending) {
    ProgrammedList list;
    list.rebuild = [](ProgrammedList& self) {
        for (int value : {3, 1, 2, 1}) self.Append(value);
        return true;
    };
    list.RebuildAndStamp();
    EXPECT_THAT(std::vector<int>(list.begin(), list.end()), ElementsAre(3, 1, 2, 1));
    EXPECT_EQ(list.At(1), 1);
}

TEST(InstanceList, ADependentListRefreshesItsSourcesFirst) {
    ProgrammedList first;
    ProgrammedList second;
    ProgrammedList dependent({&first, &second});
    dependent.rebuild = [&](ProgrammedList&) { return first.Succeeded() && second.Succeeded(); };
    EXPECT_EQ(dependent.RebuildAndStamp(), 2u);
    EXPECT_EQ(first.rebuilds, 1);
    EXPECT_EQ(second.rebuilds, 1);
}

TEST(InstanceList, ADependentListIsNotRebuiltWhenASourceFails) {
    ProgrammedList source;
    ProgrammedList dependent({&source});
    dependent.RebuildAndStamp();
    source.rebuild = [](ProgrammedList&) { return false; };
    EXPECT_EQ(dependent.RebuildAndStamp(), 0u);
    EXPECT_EQ(dependent.rebuilds, 1);
    source.rebuild = [](ProgrammedList&) { return true; };
    EXPECT_EQ(dependent.RebuildAndStamp(), 2u) << "its own generation was set to 0";
}

/// Whether another thread could take the lock now.
bool IsFree(CMutex& mutex) {
    struct Probe {
        CMutex& mutex;
        UniqueHandle done;
    } probe{mutex, UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, nullptr))};
    const UniqueHandle thread(::CreateThread(
        nullptr, 0,
        [](void* context) -> DWORD {
            auto* self = static_cast<Probe*>(context);
            self->mutex.Lock();
            ::SetEvent(self->done.Get());
            self->mutex.Unlock();
            return 0;
        },
        &probe, 0, nullptr));
    const bool free = ::WaitForSingleObject(probe.done.Get(), 100) == WAIT_OBJECT_0;
    if (!free) {
        // The caller owns the lock (recursively): give it up so that the probe can end, and take it back.
        mutex.Unlock();
        ::WaitForSingleObject(thread.Get(), INFINITE);
        mutex.Lock();
    }
    ::WaitForSingleObject(thread.Get(), INFINITE);
    return free;
}

TEST(InstanceList, HoldsItsSourcesLocksWhileItRebuildsAndNoLonger) {
    ProgrammedList source;
    ProgrammedList dependent({&source});
    bool freeInside = true;
    dependent.rebuild = [&](ProgrammedList&) {
        freeInside = IsFree(source.Mutex());
        return true;
    };
    dependent.RebuildAndStamp();
    EXPECT_FALSE(freeInside);
    EXPECT_TRUE(IsFree(source.Mutex()));
}

TEST(InstanceList, ReleasesItsSourcesLocksWhenTheRebuildThrows) {
    ProgrammedList source;
    ProgrammedList dependent({&source});
    dependent.rebuild = [](ProgrammedList&) -> bool { throw std::length_error("too long"); };
    EXPECT_THROW(dependent.RebuildAndStamp(), std::length_error);
    EXPECT_TRUE(IsFree(source.Mutex()));
}

}  // namespace
}  // namespace velk
