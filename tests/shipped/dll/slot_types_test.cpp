// The setting for the slot types of modern servers, as clients of the shipped DLL see it.

#include <gmock/gmock.h>

#include <optional>

#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace {

using testing::HasSubstr;
using testing::SizeIs;
using velkhost::RegistryValue;
using velktest::Answer;

constexpr wchar_t kSetting[] = L"ModernSlotTypes";
/// The classes that list slots, one instance each.
constexpr const wchar_t* kSlotClasses[] = {L"Velk_PCISlot", L"Velk_PCISlotLocation",
                                           L"Velk_PCISlotElementLocation", L"Velk_SystemPCISlot"};
constexpr std::size_t kSlots = 8;

class SlotTypesTest : public testing::Test {
  protected:
    SlotTypesTest() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        dll_.emplace(velktest::LoadSampleMachine("server-of-2024"));
    }

    void Set(const RegistryValue& value) { dll_->CurrentMachine().settings.emplace()[kSetting] = value; }
    Answer Enumerate(const wchar_t* className) {
        return velktest::Enumerate(*dll_->MakeProvider(className).Get());
    }
    void ExpectSlots(std::size_t count) {
        for (const wchar_t* className : kSlotClasses) {
            const Answer answer = Enumerate(className);
            EXPECT_EQ(answer.returned, S_OK) << testing::PrintToString(std::wstring(className));
            EXPECT_THAT(answer.paths, SizeIs(count)) << testing::PrintToString(std::wstring(className));
        }
    }

    velktest::Apartment apartment_;
    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    std::optional<velktest::HostedDll> dll_;
};

TEST_F(SlotTypesTest, SlotsOfAModernServerAreThereWithTheSettingAlone) {
    ExpectSlots(kSlots);
    dll_->CurrentMachine().settings.emplace();
    ExpectSlots(0);
    dll_->CurrentMachine().settings.reset();
    ExpectSlots(0);
}

TEST_F(SlotTypesTest, AValueOfAnotherTypeLeavesTheSettingOff) {
    Set(RegistryValue::Text(L"1"));
    ExpectSlots(0);
    Set({REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}});
    ExpectSlots(0);
    Set({REG_DWORD, {1, 0}});
    ExpectSlots(0);
}

TEST_F(SlotTypesTest, AChangeIsSeenByTheNextRequestOfTheSameProvider) {
    const auto provider = dll_->MakeProvider(L"Velk_PCISlot");
    const Answer on = velktest::Enumerate(*provider.Get());
    ASSERT_THAT(on.paths, SizeIs(kSlots));
    EXPECT_EQ(velktest::Get(*provider.Get(), on.paths.front()).returned, S_OK);
    EXPECT_THAT(on.texts.front(), HasSubstr(L"PCI Express"));

    Set(RegistryValue::Number(0));
    EXPECT_THAT(velktest::Enumerate(*provider.Get()).paths, SizeIs(0));
    EXPECT_NE(velktest::Get(*provider.Get(), on.paths.front()).returned, S_OK);

    Set(RegistryValue::Number(1));
    EXPECT_EQ(velktest::Enumerate(*provider.Get()), on);
}

TEST_F(SlotTypesTest, RegistryTurnsItOnAndOffWhereTheMachineSaysNothing) {
    dll_->CurrentMachine().settings.reset();
    registry_.SetDword(velktest::kCommonLogKey, kSetting, 1);
    ExpectSlots(kSlots);
    registry_.SetDword(velktest::kCommonLogKey, kSetting, 0);
    ExpectSlots(0);
}

TEST_F(SlotTypesTest, CardsTakeTheirLayoutFromModernSlots) {
    const Answer on = Enumerate(L"Velk_PCICard");
    Set(RegistryValue::Number(0));
    const Answer off = Enumerate(L"Velk_PCICard");
    EXPECT_EQ(on.paths, off.paths) << "cards are told from functions";
    ASSERT_THAT(on.texts, SizeIs(4));
    for (std::size_t card = 0; card < on.texts.size(); ++card) EXPECT_NE(on.texts[card], off.texts[card]);
}

}  // namespace
