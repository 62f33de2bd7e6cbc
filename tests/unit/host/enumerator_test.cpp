#include "host/services/enumerator.h"

#include <gmock/gmock.h>

#include <array>
#include <thread>

#include "host/com/wbem_codes.h"
#include "host/model/class_object.h"
#include "support/recording_sink.h"

namespace {

using namespace velkhost;

/// A stream of objects that are told apart by identity.
class EnumeratorTest : public testing::Test {
  protected:
    void Fill(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            objects_.push_back(MakeClass(std::make_shared<ClassDef>()));
            stream_->Add(velk::ComPtr<IWbemClassObject>(objects_.back().Get()));
        }
    }
    velk::ComPtr<Enumerator> Make(bool forwardOnly = false) {
        return MakeComObject<Enumerator>(stream_, forwardOnly);
    }
    /// Indices of the objects that one call of Next gives.
    std::vector<std::size_t> Next(IEnumWbemClassObject& enumerator, LONG timeout, ULONG count,
                                  HRESULT expected) {
        std::array<IWbemClassObject*, 32> batch{};
        ULONG returned = 99;
        EXPECT_EQ(enumerator.Next(timeout, count, batch.data(), &returned), expected);
        std::vector<std::size_t> indices;
        for (ULONG i = 0; i < returned; ++i) {
            const auto held = velk::ComPtr<IWbemClassObject>::Adopt(batch[i]);
            for (std::size_t known = 0; known < objects_.size(); ++known) {
                if (objects_[known].Get() == held.Get()) indices.push_back(known);
            }
        }
        return indices;
    }

    const std::shared_ptr<ResultStream> stream_ = std::make_shared<ResultStream>();
    std::vector<velk::ComPtr<ClassObject>> objects_;
};

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(EnumeratorTest, TwentyFiveObjectsComeInBatchesOfTenTenAndFive) {
    Fill(25);
    stream_->Finish(S_OK);
    const auto enumerator = Make(true);
    EXPECT_THAT(Next(*enumerator, kWbemInfinite, 10, S_OK), SizeIs(10));
    EXPECT_EQ(Next(*enumerator, kWbemInfinite, 10, S_OK).front(), 10u);
    EXPECT_THAT(Next(*enumerator, kWbemInfinite, 10, velk::kWbemFalse), ElementsAre(20, 21, 22, 23, 24));
    EXPECT_THAT(Next(*enumerator, kWbemInfinite, 10, velk::kWbemFalse), IsEmpty());
}

TEST_F(EnumeratorTest, TimeRunningOutHandsOverWhatIsThere) {
    Fill(2);
    const auto enumerator = Make();
    EXPECT_THAT(Next(*enumerator, 20, 5, velk::kWbemTimedOut), ElementsAre(0, 1));
    EXPECT_THAT(Next(*enumerator, 0, 5, velk::kWbemTimedOut), IsEmpty());
}

TEST_F(EnumeratorTest, AWaitEndsWhenTheObjectArrives) {
    const auto enumerator = Make();
    std::thread producer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        Fill(1);
        stream_->Finish(S_OK);
    });
    std::array<IWbemClassObject*, 1> batch{};
    ULONG returned = 0;
    EXPECT_EQ(enumerator->Next(kWbemInfinite, 1, batch.data(), &returned), S_OK);
    producer.join();
    ASSERT_EQ(returned, 1u);
    const auto held = velk::ComPtr<IWbemClassObject>::Adopt(batch[0]);
    EXPECT_EQ(held.Get(), objects_[0].Get());
}

TEST_F(EnumeratorTest, AFailureFollowsTheObjectsThatCameBeforeIt) {
    Fill(1);
    stream_->Finish(velk::kWbemFailed);
    const auto enumerator = Make();
    EXPECT_THAT(Next(*enumerator, kWbemInfinite, 5, velk::kWbemFalse), ElementsAre(0));
    EXPECT_THAT(Next(*enumerator, kWbemInfinite, 5, velk::kWbemFailed), IsEmpty());
}

TEST_F(EnumeratorTest, ResetBeginsAgainUnlessForwardOnly) {
    Fill(2);
    stream_->Finish(S_OK);
    const auto enumerator = Make();
    EXPECT_THAT(Next(*enumerator, 0, 2, S_OK), ElementsAre(0, 1));
    EXPECT_EQ(enumerator->Reset(), S_OK);
    EXPECT_THAT(Next(*enumerator, 0, 2, S_OK), ElementsAre(0, 1));
    EXPECT_EQ(Make(true)->Reset(), kWbemInvalidOperation);
}

TEST_F(EnumeratorTest, ACloneGoesOnFromTheSamePlaceByItself) {
    Fill(3);
    stream_->Finish(S_OK);
    const auto enumerator = Make();
    EXPECT_THAT(Next(*enumerator, 0, 1, S_OK), ElementsAre(0));
    velk::ComPtr<IEnumWbemClassObject> clone;
    ASSERT_EQ(enumerator->Clone(clone.Put()), S_OK);
    EXPECT_THAT(Next(*enumerator, 0, 2, S_OK), ElementsAre(1, 2));
    EXPECT_THAT(Next(*clone, 0, 2, S_OK), ElementsAre(1, 2));
    EXPECT_EQ(Make(true)->Clone(clone.Put()), kWbemInvalidOperation);
    EXPECT_FALSE(clone);
}

TEST_F(EnumeratorTest, SkipPassesOverObjects) {
    Fill(3);
    stream_->Finish(S_OK);
    const auto enumerator = Make();
    EXPECT_EQ(enumerator->Skip(0, 2), S_OK);
    EXPECT_THAT(Next(*enumerator, 0, 1, S_OK), ElementsAre(2));
    EXPECT_EQ(enumerator->Skip(0, 1), velk::kWbemFalse);
    EXPECT_EQ(enumerator->Skip(0, 0), S_OK) << "script clients skip none to reach the first of a set";
}

TEST_F(EnumeratorTest, NextAsyncDeliversAndReportsFewer) {
    Fill(3);
    stream_->Finish(S_OK);
    const auto enumerator = Make();
    const auto sink = velktest::RecordingSink::Make();
    EXPECT_EQ(enumerator->NextAsync(2, sink.Get()), S_OK);
    EXPECT_EQ(enumerator->NextAsync(2, sink.Get()), S_OK);
    ASSERT_THAT(sink->indications, SizeIs(2));
    EXPECT_THAT(sink->indications[0], SizeIs(2));
    EXPECT_THAT(sink->indications[1], SizeIs(1));
    ASSERT_THAT(sink->statuses, SizeIs(2));
    EXPECT_EQ(sink->statuses[0].result, S_OK);
    EXPECT_EQ(sink->statuses[1].result, velk::kWbemFalse);
}

TEST_F(EnumeratorTest, InvalidArgumentsAreRefused) {
    const auto enumerator = Make();
    IWbemClassObject* object = nullptr;
    ULONG returned = 5;
    EXPECT_EQ(enumerator->Next(0, 1, nullptr, &returned), velk::kWbemInvalidParameter);
    EXPECT_EQ(enumerator->Next(0, 1, &object, nullptr), velk::kWbemInvalidParameter);
    EXPECT_EQ(enumerator->Next(0, 0, &object, &returned), velk::kWbemInvalidParameter);
    EXPECT_EQ(enumerator->Next(-2, 1, &object, &returned), velk::kWbemInvalidParameter);
    EXPECT_EQ(enumerator->NextAsync(1, nullptr), velk::kWbemInvalidParameter);
    EXPECT_EQ(enumerator->Clone(nullptr), velk::kWbemInvalidParameter);
    EXPECT_EQ(returned, 0u);
}

TEST_F(EnumeratorTest, AForwardOnlyEnumeratorLetsGoOfWhatItHandedOut) {
    const long before = LiveComObjects();
    stream_->Add(velk::ComPtr<IWbemClassObject>(MakeClass(std::make_shared<ClassDef>()).Get()));
    stream_->Finish(S_OK);
    const auto enumerator = Make(true);
    EXPECT_THAT(Next(*enumerator, 0, 1, S_OK), IsEmpty());
    EXPECT_EQ(LiveComObjects(), before + 1) << "only the enumerator is left";
}

}  // namespace
