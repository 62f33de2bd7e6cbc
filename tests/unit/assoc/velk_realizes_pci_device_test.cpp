#include <gmock/gmock.h>

#include "assoc/association_bench.h"
#include "assoc/velk_realizes_pci_device_prov.h"
#include "common/wbem_status.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using velktest::References;

class CVelkRealizesPCIDeviceProv : public velktest::AssociationBench {
  protected:
    HRESULT Enumerate() { return AssociationBench::Enumerate(*provider_.Get()); }
    std::vector<References> DeliveredReferences() const { return Delivered(L"Antecedent", L"Dependent"); }

  private:
    velk::ComPtr<velk::CVelkRealizesPCIDeviceProv> provider_ =
        Initialized<velk::CVelkRealizesPCIDeviceProv>(L"Velk_RealizesPCIDevice");
};

TEST_F(CVelkRealizesPCIDeviceProv, GivesEveryFunctionOfASlotToTheSlotsCardInTheFunctionsOrder) {
    const int first = AddFunction(4);
    const int between = AddFunction(2);
    const int second = AddFunction(4);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(References(CardPath(4), FunctionPath(first)),
                                                   References(CardPath(2), FunctionPath(between)),
                                                   References(CardPath(4), FunctionPath(second))));
}

TEST_F(CVelkRealizesPCIDeviceProv, FunctionsOutsideAnySlotHaveNoCard) {
    AddFunction();
    const int inSlot = AddFunction(1);
    AddFunction();
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(References(CardPath(1), FunctionPath(inSlot))));
}

TEST_F(CVelkRealizesPCIDeviceProv, PassesOverZeroAloneSoThatNegativeNumbersNameCardsThatNobodyMakes) {
    const int lowest = AddFunction(0x80000000);
    const int highest = AddFunction(0xFFFFFFFF);
    EXPECT_EQ(Enumerate(), S_OK);
    const velk::CString card =
        L"\\\\WMISERVER\\root\\VKQ:Velk_PCICard.CreationClassName=\"Velk_PCICard\",Tag=";
    EXPECT_THAT(DeliveredReferences(),
                ElementsAre(References(card + L"\"PCI Card -2147483648\"", FunctionPath(lowest)),
                            References(card + L"\"PCI Card -1\"", FunctionPath(highest))));
}

TEST_F(CVelkRealizesPCIDeviceProv, BridgesAreOnNoCard) {
    AddBridge(1);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), IsEmpty());
}

TEST_F(CVelkRealizesPCIDeviceProv, AServerWithoutFunctionsIsASuccess) {
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses, ElementsAre(velktest::RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
}

TEST_F(CVelkRealizesPCIDeviceProv, FailsWhereTheFunctionListFailsAndRecovers) {
    const int function = AddFunction(1);
    const velkhost::ComputerNames names = std::exchange(machine.names, {});
    EXPECT_EQ(Enumerate(), velk::kWbemFailed);
    EXPECT_THAT(sink->indications, IsEmpty());
    machine.names = names;
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(References(CardPath(1), FunctionPath(function))));
}

TEST_F(CVelkRealizesPCIDeviceProv, PathsBeginWithThreeBackslashesWhereWmiNamesNoServer) {
    wmi.Namespace(L"root\\VKQ").Answer(velktest::kComputerSystemQuery, {});
    AddFunction(1);
    EXPECT_EQ(Enumerate(), S_OK);
    ASSERT_EQ(DeliveredReferences().size(), 1u);
    EXPECT_EQ(DeliveredReferences()[0].first,
              L"\\\\\\root\\VKQ:Velk_PCICard.CreationClassName=\"Velk_PCICard\",Tag=\"PCI Card 1\"");
    EXPECT_TRUE(DeliveredReferences()[0].second.starts_with(L"\\\\\\root\\VKQ:Velk_PCIDevice."));
}

TEST_F(CVelkRealizesPCIDeviceProv, ATextMissingFromTheStringTableIsReportedInTheTag) {
    const velktest::NoStringTable noTexts;
    const int function = AddFunction(1);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(
        DeliveredReferences(),
        ElementsAre(References(L"\\\\WMISERVER\\root\\VKQ:Velk_PCICard.CreationClassName=\"Velk_PCICard\","
                               L"Tag=\"<String could not be found!>\"",
                               FunctionPath(function))));
}

}  // namespace
