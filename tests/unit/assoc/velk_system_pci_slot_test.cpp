#include <gmock/gmock.h>

#include <thread>

#include "assoc/association_bench.h"
#include "assoc/velk_system_pci_slot_prov.h"
#include "common/wbem_status.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "smbios/smbios_table.h"
#include "support/smbios_builder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using velktest::kChassis;
using velktest::References;

class CVelkSystemPCISlotProv : public velktest::AssociationBench {
  protected:
    HRESULT Enumerate() { return AssociationBench::Enumerate(*provider_.Get()); }
    std::vector<References> DeliveredReferences() const {
        return Delivered(L"PartComponent", L"GroupComponent");
    }
    /// The parts alone, after making sure that all of them are of the chassis.
    std::vector<velk::CString> Slots() const {
        std::vector<velk::CString> slots;
        for (const auto& [part, group] : DeliveredReferences()) {
            EXPECT_EQ(group, kChassis);
            slots.push_back(part);
        }
        return slots;
    }

    velk::ComPtr<velk::CVelkSystemPCISlotProv> provider_ =
        Initialized<velk::CVelkSystemPCISlotProv>(L"Velk_SystemPCISlot");
};

TEST_F(CVelkSystemPCISlotProv, SlotNumbersAreTriedFromOneToTheCountAndNoFurther) {
    ServeSlots({{5}, {2}, {1}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(Slots(), ElementsAre(SlotPath(1), SlotPath(2)));
}

TEST_F(CVelkSystemPCISlotProv, SlotIdsOfMoreThanEightBitsAreFound) {
    std::vector<velktest::SmbiosBuilder::Slot> slots(257, {.id = 0x100});
    slots.back().id = 0x101;
    velktest::ServeSmbios(wmi, velktest::TableOfSlots(slots));
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(Slots(), ElementsAre(SlotPath(0x100), SlotPath(0x101)));
}

TEST_F(CVelkSystemPCISlotProv, OnlyPciSlotsAreCountedButSlotsOfEveryKindAreFound) {
    constexpr std::uint8_t kIsa = 0x03;
    ServeSlots({{1, kIsa}, {2}, {3}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(Slots(), ElementsAre(SlotPath(1), SlotPath(2)));
}

TEST_F(CVelkSystemPCISlotProv, ModernSlotTypesAreCountedWhileTheSettingIsOn) {
    constexpr std::uint8_t kGeneration5 = 0xC3;
    ServeSlots({{1, kGeneration5}, {2, kGeneration5}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(sink->indications, IsEmpty());
    SetModernSlotTypes(1);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(Slots(), ElementsAre(SlotPath(1), SlotPath(2)));
}

TEST_F(CVelkSystemPCISlotProv, ANumberThatTwoSlotsShareIsListedOnce) {
    ServeSlots({{1}, {1}, {0}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(Slots(), ElementsAre(SlotPath(1)));
}

TEST_F(CVelkSystemPCISlotProv, ATableWithoutPciSlotsIsASuccess) {
    constexpr std::uint8_t kIsa = 0x03;
    ServeSlots({{1, kIsa}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses, ElementsAre(velktest::RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
}

TEST_F(CVelkSystemPCISlotProv, FailsWithoutAFirmwareTableAlthoughTheCountIsThenZeroAndTriesAgain) {
    EXPECT_EQ(Enumerate(), velk::kWbemFailed);
    EXPECT_EQ(velk::Smbios().CountPciSlots(), 0u);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses,
                ElementsAre(velktest::RecordingSink::Status{WBEM_STATUS_COMPLETE, velk::kWbemFailed}));
    ServeSlots({{1}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(Slots(), ElementsAre(SlotPath(1)));
}

CVelkSystemPCISlotProv* g_enumerating = nullptr;
decltype(&::ReleaseMutex) g_releaseMutex = nullptr;
bool g_loadedByAnother = false;
/// As soon as the lock of the table is free after a load that failed, another thread loads it.
BOOL WINAPI LoadOnceFree(HANDLE mutex) {
    const BOOL released = g_releaseMutex(mutex);
    const auto& queries = g_enumerating->wmi.Namespace(L"root\\wmi").queries;
    if (g_loadedByAnother || queries.empty()) return released;
    std::thread([mutex] {
        const velktest::Apartment apartment;
        if (::WaitForSingleObject(mutex, 0) != WAIT_OBJECT_0) return;  // held still, further out
        g_loadedByAnother = true;
        g_enumerating->ServeSlots({{1}});
        EXPECT_TRUE(velk::Smbios().Load());
        g_releaseMutex(mutex);
    }).join();
    return released;
}

TEST_F(CVelkSystemPCISlotProv, FailsWithoutATableAlsoWhenAnotherThreadLoadsItRightAfterwards) {
    g_enumerating = this;
    g_loadedByAnother = false;
    wmi.Namespace(L"root\\wmi");
    {
        const velktest::StandIn release("ReleaseMutex", &LoadOnceFree);
        g_releaseMutex = release.Original<decltype(g_releaseMutex)>();
        EXPECT_EQ(Enumerate(), velk::kWbemFailed);
    }
    EXPECT_TRUE(g_loadedByAnother);
    EXPECT_TRUE(velk::Smbios().IsLoaded());
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(Slots(), ElementsAre(SlotPath(1)));
}

TEST_F(CVelkSystemPCISlotProv, WithNoChassisOrSeveralTheGroupIsEmpty) {
    ServeSlots({{1}});
    for (const auto& chassis : {std::initializer_list<const wchar_t*>{},
                                std::initializer_list<const wchar_t*>{kChassis, kChassis}}) {
        ServeChassis(chassis);
        EXPECT_EQ(Enumerate(), S_OK);
        EXPECT_THAT(DeliveredReferences(), ElementsAre(References(SlotPath(1), L"")));
    }
}

TEST_F(CVelkSystemPCISlotProv, AsksForTheChassisOnceInARequest) {
    ServeSlots({{1}, {2}, {3}});
    Enumerate();
    int chassisQueries = 0;
    for (const auto& query : wmi.Namespace(L"root\\VKQ").queries) {
        if (query.text == L"SELECT * FROM VELK_COMPUTERSYSTEMCHASSIS") ++chassisQueries;
    }
    EXPECT_EQ(chassisQueries, 1);
}

TEST_F(CVelkSystemPCISlotProv, RefreshesTheFunctionListAndFailsWithIt) {
    ServeSlots({{1}});
    AddFunction();
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_EQ(velk::PciDeviceList().Count(), 1u);
    EXPECT_FALSE(velk::PciBridgeList().Succeeded());

    machine.names = {};
    EXPECT_EQ(Enumerate(), velk::kWbemFailed);
    EXPECT_THAT(sink->indications, IsEmpty());
}

}  // namespace
