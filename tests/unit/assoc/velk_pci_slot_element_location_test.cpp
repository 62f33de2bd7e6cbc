#include <gmock/gmock.h>

#include <cwchar>

#include "assoc/association_bench.h"
#include "assoc/velk_pci_slot_element_location_prov.h"
#include "common/wbem_status.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using velktest::References;

class CVelkPCISlotElementLocationProv : public velktest::AssociationBench {
  protected:
    HRESULT Enumerate() { return AssociationBench::Enumerate(*provider_.Get()); }
    std::vector<References> DeliveredReferences() const { return Delivered(L"Element", L"PhysicalLocation"); }
    static References Pair(int number) { return {SlotPath(number), LocationPath(number)}; }
    std::size_t LookUps() { return wmi.Namespace(L"root\\VKQ").queries.size(); }

  private:
    velk::ComPtr<velk::CVelkPCISlotElementLocationProv> provider_ =
        Initialized<velk::CVelkPCISlotElementLocationProv>(L"Velk_PCISlotElementLocation");
};

TEST_F(CVelkPCISlotElementLocationProv, GapsInTheSlotNumbersAreSkipped) {
    ServeSlots({{3}, {1}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(1), Pair(3)));
}

TEST_F(CVelkPCISlotElementLocationProv, EveryNumberThatIsTriedCostsTwoLookUpsFoundOrNot) {
    ServeSlots({{1}, {3}});
    Enumerate();
    EXPECT_EQ(LookUps(), 6u);
}

TEST_F(CVelkPCISlotElementLocationProv, TheLocationIsNamedLikeTheSlotAndPlacedAtItsNumber) {
    ServeSlots({{7}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(
        DeliveredReferences(),
        ElementsAre(References(
            L"\\\\WMISERVER\\root\\VKQ:Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 7\"",
            L"\\\\WMISERVER\\root\\VKQ:Velk_PCISlotLocation.Name=\"PCI Slot 7\",PhysicalPosition=\"7\"")));
}

TEST_F(CVelkPCISlotElementLocationProv, AFoundSlotOfAnotherKindCountsTowardsTheNumberOfPciSlots) {
    constexpr std::uint8_t kIsa = 0x03;
    ServeSlots({{1, kIsa}, {2}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(1)));
}

TEST_F(CVelkPCISlotElementLocationProv, ModernSlotTypesAreLocatedWhileTheSettingIsOn) {
    constexpr std::uint8_t kGeneration4 = 0xBD;
    ServeSlots({{1}, {2, kGeneration4}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(1)));
    SetModernSlotTypes(1);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(1), Pair(2)));
}

TEST_F(CVelkPCISlotElementLocationProv, ASlotWithTheIdZeroIsFoundBehindTheSixteenBitNumbers) {
    ServeSlots({{0}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(65536)));
    EXPECT_EQ(LookUps(), 2u * 65536);
}

TEST_F(CVelkPCISlotElementLocationProv, WithoutAFirmwareTableOrPciSlotsThereIsNothingAndThatIsASuccess) {
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(sink->indications, IsEmpty());

    constexpr std::uint8_t kIsa = 0x03;
    ServeSlots({{1, kIsa}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_EQ(LookUps(), 0u);
}

TEST_F(CVelkPCISlotElementLocationProv, PathsBeginWithThreeBackslashesWhereWmiNamesNoServer) {
    wmi.Namespace(L"root\\VKQ").Answer(velktest::kComputerSystemQuery, {});
    ServeSlots({{1}});
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(),
                ElementsAre(References(
                    L"\\\\\\root\\VKQ:Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"",
                    L"\\\\\\root\\VKQ:Velk_PCISlotLocation.Name=\"PCI Slot 1\",PhysicalPosition=\"1\"")));
}

// The one way to an empty path: the C runtime's formatter fails, first as if the text were long, then in
// telling how long it is.
constexpr wchar_t kPathFormat[] = L"\\\\%s\\%s:%s";
decltype(&_vsnwprintf) g_format = nullptr;
decltype(&_vscwprintf) g_measure = nullptr;
int g_pathsUntilFailure = 0;
int FailToFormat(wchar_t* text, std::size_t size, const wchar_t* format, va_list arguments) {
    if (std::wcscmp(format, kPathFormat) == 0 && --g_pathsUntilFailure == 0) return -1;
    return g_format(text, size, format, arguments);
}
int FailToMeasure(const wchar_t* format, va_list arguments) {
    return std::wcscmp(format, kPathFormat) == 0 ? -1 : g_measure(format, arguments);
}

TEST_F(CVelkPCISlotElementLocationProv, AnEmptyPathFailsTheListAlsoUnderANumberThatNoSlotHas) {
    ServeSlots({{1}, {3}});
    // Element and location of 1, of 2, and the location of 3.
    for (const int failing : {1, 2, 3, 4, 6}) {
        g_pathsUntilFailure = failing;
        {
            const velktest::StandIn formatter("_vsnwprintf", &FailToFormat);
            g_format = formatter.Original<decltype(g_format)>();
            const velktest::StandIn measure("_vscwprintf", &FailToMeasure);
            g_measure = measure.Original<decltype(g_measure)>();
            EXPECT_EQ(Enumerate(), velk::kWbemFailed) << failing;
        }
        // Both paths of the number were made, and none of the next one's.
        EXPECT_EQ(g_pathsUntilFailure, failing % 2 == 0 ? 0 : -1) << failing;
        EXPECT_THAT(sink->indications, IsEmpty());
        EXPECT_THAT(sink->statuses,
                    ElementsAre(velktest::RecordingSink::Status{WBEM_STATUS_COMPLETE, velk::kWbemFailed}));
    }
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(1), Pair(3)));
}

}  // namespace
