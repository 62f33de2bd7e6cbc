// What the five association providers have in common, on a server that gives each of them something to tell.

#include <gmock/gmock.h>

#include "assoc/association_bench.h"
#include "assoc/lock_recorder.h"
#include "assoc/velk_pci_card_in_slot_prov.h"
#include "assoc/velk_pci_slot_element_location_prov.h"
#include "assoc/velk_realizes_pci_device_prov.h"
#include "assoc/velk_system_pci_device_prov.h"
#include "assoc/velk_system_pci_slot_prov.h"
#include "common/wbem_status.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "support/log_capture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using velk::CString;
using velktest::AssociationPath;
using velktest::RecordingSink;
using velktest::References;

/// The texts of an association class, its references in the order in which they are written; and the locks of
/// a request behind the provider's own, in the order in which they are taken.
struct CardInSlot {
    using Provider = velk::CVelkPCICardInSlotProv;
    static constexpr auto kProvider = L"CVelkPCICardInSlotProv";
    static constexpr auto kLock = L"Global\\wmi_VelkPCICardInSlotProv";
    static constexpr auto kWmiClass = L"Velk_PCICardInSlot";
    static constexpr auto kFirst = L"Antecedent";
    static constexpr auto kSecond = L"Dependent";
    static std::vector<CString> ListLocks() { return {L"unnamed", L"functions"}; }
};

struct SlotElementLocation {
    using Provider = velk::CVelkPCISlotElementLocationProv;
    static constexpr auto kProvider = L"CVelkPCISlotElementLocationProv";
    static constexpr auto kLock = L"Global\\wmi_VelkPCISlotElementLocationProv";
    static constexpr auto kWmiClass = L"Velk_PCISlotElementLocation";
    static constexpr auto kFirst = L"Element";
    static constexpr auto kSecond = L"PhysicalLocation";
    static std::vector<CString> ListLocks() { return {L"unnamed"}; }
};

struct Realizes {
    using Provider = velk::CVelkRealizesPCIDeviceProv;
    static constexpr auto kProvider = L"CVelkRealizesPCIDeviceProv";
    static constexpr auto kLock = L"Global\\wmi_VelkRealizesPCIDeviceProv";
    static constexpr auto kWmiClass = L"Velk_RealizesPCIDevice";
    static constexpr auto kFirst = L"Antecedent";
    static constexpr auto kSecond = L"Dependent";
    static std::vector<CString> ListLocks() { return {L"unnamed", L"functions"}; }
};

struct SystemDevice {
    using Provider = velk::CVelkSystemPCIDeviceProv;
    static constexpr auto kProvider = L"CVelkSystemPCIDeviceProv";
    static constexpr auto kLock = L"Global\\wmi_VelkSystemPCIDeviceProv";
    static constexpr auto kWmiClass = L"Velk_SystemPCIDevice";
    static constexpr auto kFirst = L"PartComponent";
    static constexpr auto kSecond = L"GroupComponent";
    static std::vector<CString> ListLocks() {
        return {L"Global\\wmi_CVelkSystemPCIDeviceList", L"functions", L"bridges"};
    }
};

struct SystemSlot {
    using Provider = velk::CVelkSystemPCISlotProv;
    static constexpr auto kProvider = L"CVelkSystemPCISlotProv";
    static constexpr auto kLock = L"Global\\wmi_VelkSystemPCISlotProv";
    static constexpr auto kWmiClass = L"Velk_SystemPCISlot";
    static constexpr auto kFirst = L"PartComponent";
    static constexpr auto kSecond = L"GroupComponent";
    static std::vector<CString> ListLocks() { return {L"Global\\wmi_CVelkSystemPCISlotList", L"functions"}; }
};

template <class Association>
class AssociationProv : public velktest::AssociationBench {
  protected:
    AssociationProv() {
        AddFunction(1);
        AddFunction(2);
        AddBridge(3);
        ServeSlots({{1}, {2}});
    }

    velk::ComPtr<typename Association::Provider> Provider() {
        return Initialized<typename Association::Provider>(Association::kWmiClass);
    }
    std::vector<References> DeliveredReferences() const {
        return Delivered(Association::kFirst, Association::kSecond);
    }
    /// The references of the second instance: a get must not simply take the first record.
    References SecondInstance(IWbemServices& provider) {
        EXPECT_EQ(Enumerate(provider), S_OK);
        const std::vector<References> all = DeliveredReferences();
        return all.size() < 2 ? References() : all[1];
    }
};

using Associations = testing::Types<CardInSlot, SlotElementLocation, Realizes, SystemDevice, SystemSlot>;
TYPED_TEST_SUITE(AssociationProv, Associations);

TYPED_TEST(AssociationProv, DeliversTheTwoReferencesAndNothingElseInOneCall) {
    const auto provider = this->Provider();
    ASSERT_EQ(this->Enumerate(*provider.Get()), S_OK);
    ASSERT_EQ(this->sink->indications.size(), 1u);
    EXPECT_GE(this->sink->indications[0].size(), 2u);
    for (const auto& instance : this->ProviderBench::Delivered()) {
        EXPECT_THAT(instance->puts, ElementsAre(TypeParam::kFirst, TypeParam::kSecond));
        EXPECT_FALSE(instance->Text(TypeParam::kFirst).empty());
        EXPECT_FALSE(instance->Text(TypeParam::kSecond).empty());
    }
    EXPECT_THAT(this->sink->statuses, ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
}

TYPED_TEST(AssociationProv, FailsAtTheFirstWriteThatIsRefusedWhateverTheReason) {
    const auto provider = this->Provider();
    const auto first = velktest::FakeClassObject::Make();
    first->FailPut(TypeParam::kFirst, static_cast<HRESULT>(WBEM_E_ACCESS_DENIED));
    EXPECT_EQ(provider->FillInstance(first.Get(), {L"a", L"b"}), velk::kWbemFailed);
    EXPECT_THAT(first->puts, IsEmpty());

    const auto second = velktest::FakeClassObject::Make();
    second->FailPut(TypeParam::kSecond, static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH));
    EXPECT_EQ(provider->FillInstance(second.Get(), {L"a", L"b"}), velk::kWbemFailed);
    EXPECT_THAT(second->puts, ElementsAre(TypeParam::kFirst));
}

TYPED_TEST(AssociationProv, FindsAnInstanceByItsReferencesInAnyOrderAndAnyCaseOfTheirNames) {
    const auto provider = this->Provider();
    const References wanted = this->SecondInstance(*provider.Get());
    const auto path = [&](const wchar_t* className, const CString& first, const CString& second,
                          bool swapped) {
        return swapped ? AssociationPath(className,
                                         {{second.c_str(), wanted.second}, {first.c_str(), wanted.first}})
                       : AssociationPath(className,
                                         {{first.c_str(), wanted.first}, {second.c_str(), wanted.second}});
    };
    const CString first = TypeParam::kFirst;
    const CString second = TypeParam::kSecond;
    const CString paths[] = {
        path(TypeParam::kWmiClass, first, second, false),
        path(TypeParam::kWmiClass, first, second, true),
        path(TypeParam::kWmiClass, velk::ToUpper(first), velk::ToUpper(second), true),
        path(velk::ToUpper(TypeParam::kWmiClass).c_str(), first, second, false),
        path(TypeParam::kWmiClass, first, second, false) + L",Other=\"ignored\"",
    };
    for (const CString& asked : paths) {
        EXPECT_EQ(this->Get(*provider.Get(), asked), S_OK);
        EXPECT_THAT(this->DeliveredReferences(), ElementsAre(wanted));
        EXPECT_THAT(this->sink->statuses, ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
    }
}

TYPED_TEST(AssociationProv, ComparesReferencesExactlyAndWithRegardToCase) {
    const auto provider = this->Provider();
    const References there = this->SecondInstance(*provider.Get());
    const References asked[] = {
        {velk::ToUpper(there.first), there.second},
        {there.first, velk::ToUpper(there.second)},
        {there.first + L" ", there.second},
        {there.second, there.first},
        {there.first, L""},
        {L"", there.second},
    };
    for (const References& references : asked) {
        EXPECT_EQ(this->Get(*provider.Get(),
                            AssociationPath(TypeParam::kWmiClass, {{TypeParam::kFirst, references.first},
                                                                   {TypeParam::kSecond, references.second}})),
                  velk::kWbemNotFound);
        EXPECT_THAT(this->sink->indications, IsEmpty());
        EXPECT_THAT(this->sink->statuses, IsEmpty());
    }
}

TYPED_TEST(AssociationProv, DoesNotFindAnInstanceByOneReferenceAlone) {
    const auto provider = this->Provider();
    const References there = this->SecondInstance(*provider.Get());
    EXPECT_EQ(
        this->Get(*provider.Get(), AssociationPath(TypeParam::kWmiClass, {{TypeParam::kFirst, there.first}})),
        velk::kWbemNotFound);
    EXPECT_EQ(this->Get(*provider.Get(),
                        AssociationPath(TypeParam::kWmiClass, {{TypeParam::kSecond, there.second}})),
              velk::kWbemNotFound);
}

TYPED_TEST(AssociationProv, RefusesPathsOfOtherClassesAndOfNoInstance) {
    const auto provider = this->Provider();
    for (const CString& path : {CString(L"Velk_Other.Antecedent=\"a\",Dependent=\"b\""),
                                CString(TypeParam::kWmiClass), CString(L"")}) {
        EXPECT_EQ(this->Get(*provider.Get(), path), velk::kWbemInvalidParameter) << path.size();
        EXPECT_THAT(this->sink->statuses, IsEmpty());
    }
}

TYPED_TEST(AssociationProv, WorksWithoutAComputerNameAsLongAsItsListDoes) {
    // The computer's name is no key here; with no function to name, no list needs it.
    const auto provider = this->Provider();
    this->machine.devices.clear();
    this->machine.names = {};
    EXPECT_EQ(this->Enumerate(*provider.Get()), S_OK);
    EXPECT_EQ(this->Get(*provider.Get(), AssociationPath(TypeParam::kWmiClass, {{TypeParam::kFirst, L"a"}})),
              velk::kWbemNotFound);
}

TYPED_TEST(AssociationProv, LogsEveryEntryPointUnderItsOwnNameAndTheResults) {
    const velktest::LogCapture log;
    const auto line = [](const wchar_t* level, const wchar_t* method, const wchar_t* text) {
        return velk::FormatText(L"[%s] %s::%s| %s", level, TypeParam::kProvider, method, text);
    };
    const auto provider = this->Provider();
    const References there = this->SecondInstance(*provider.Get());
    this->Get(*provider.Get(), AssociationPath(TypeParam::kWmiClass, {{TypeParam::kFirst, there.first},
                                                                      {TypeParam::kSecond, there.second}}));
    this->Get(*provider.Get(), AssociationPath(TypeParam::kWmiClass, {{TypeParam::kFirst, L"no such"}}));
    provider->PutInstanceAsync(nullptr, 0, nullptr, nullptr);
    provider->DeleteInstanceAsync(nullptr, 0, nullptr, nullptr);
    provider->ExecQueryAsync(nullptr, nullptr, 0, nullptr, nullptr);

    const std::vector<CString> lines = log.Lines();
    for (const wchar_t* method :
         {L"Initialize", L"PutInstanceAsync", L"DeleteInstanceAsync", L"ExecQueryAsync", L"FillInstance",
          L"GetInstanceByPath", L"GetObjectAsync", L"CreateInstanceEnumAsync"}) {
        EXPECT_THAT(lines, Contains(line(L"Verbose", method, L"Entering")));
    }
    EXPECT_THAT(lines, Contains(line(L"Information", L"GetInstanceByPath", L"Returning instance by path")));
    EXPECT_THAT(lines, Contains(line(L"Error", L"GetInstanceByPath", L"Cannot return instance by path")));
}

TYPED_TEST(AssociationProv, TakesItsLocksInOrderAndGivesThemBackInTheOpposite) {
    velktest::LockRecorder recorder;
    recorder.Name(velk::PciDeviceList().Mutex(), L"functions");
    recorder.Name(velk::PciBridgeList().Mutex(), L"bridges");
    std::vector<CString> expected;
    std::vector<CString> locks = TypeParam::ListLocks();
    locks.insert(locks.begin(), TypeParam::kLock);
    for (const CString& lock : locks) expected.push_back(L"+" + lock);
    for (auto lock = locks.rbegin(); lock != locks.rend(); ++lock) expected.push_back(L"-" + *lock);

    const auto provider = this->Provider();
    this->Enumerate(*provider.Get());
    EXPECT_THAT(recorder.events, ElementsAreArray(expected));

    recorder.events.clear();
    this->Get(*provider.Get(), AssociationPath(TypeParam::kWmiClass, {{TypeParam::kFirst, L"a"}}));
    EXPECT_THAT(recorder.events, ElementsAreArray(expected));
}

TYPED_TEST(AssociationProv, LeavesNothingBehind) {
    const long before = velktest::LiveFakes();
    {
        const auto provider = this->Provider();
        const References there = this->SecondInstance(*provider.Get());
        this->Get(*provider.Get(),
                  AssociationPath(TypeParam::kWmiClass,
                                  {{TypeParam::kFirst, there.first}, {TypeParam::kSecond, there.second}}));
    }
    this->sink = {};
    this->classObject = {};
    this->services = velktest::FakeServices::Make();
    EXPECT_EQ(velktest::LiveFakes(), before);
}

}  // namespace
