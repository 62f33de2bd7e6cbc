// What the providers write, against the classes that the shipped MOF declares. WMI refuses a property of a
// wrong name or type, and the whole class fails with it, without a word of which it was.

#include <gmock/gmock.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "assoc/velk_pci_card_in_slot_prov.h"
#include "assoc/velk_pci_slot_element_location_prov.h"
#include "assoc/velk_realizes_pci_device_prov.h"
#include "assoc/velk_system_pci_device_prov.h"
#include "assoc/velk_system_pci_slot_prov.h"
#include "host/model/repository.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_bridge_prov.h"
#include "pci/velk_pci_device_list.h"
#include "pci/velk_pci_device_prov.h"
#include "slots/velk_pci_card_prov.h"
#include "slots/velk_pci_slot_location_prov.h"
#include "slots/velk_pci_slot_prov.h"
#include "smbios/smbios_table.h"
#include "support/fake_wbem.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"

namespace {

using namespace velk;
using velkhost::Cim;
using velkhost::PropertyDef;
using velktest::FakeClassObject;

/// Every number is as large as its field holds: what is written then shows how wide the field is.
constexpr std::uint8_t kByte = std::numeric_limits<std::uint8_t>::max();
constexpr std::uint16_t kShort = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint32_t kLong = std::numeric_limits<std::uint32_t>::max();

CVelkPCIBridge FullFunction() {
    CVelkPCIBridge function;
    function.vendorId = function.pciDeviceId = function.subsystemVendorId = function.subsystemId = kShort;
    function.revisionId = kByte;
    function.busNumber = function.deviceNumber = function.functionNumber = kLong;
    function.uiNumber = function.classCode = kLong;
    function.bridgeType = kShort;
    return function;
}

CVelkPCISlot FullSlot() {
    CVelkPCISlot slot;
    slot.number = slot.connectorLayout = kShort;
    slot.connectorType = {kShort};
    slot.otherTypeDescription = L"x";  // left out when empty
    return slot;
}

CVelkPCICard FullCard() {
    CVelkPCICard card;
    card.packageType = card.busLayout = kShort;
    return card;
}

CVelkPCISlotLocation FullLocation() {
    CVelkPCISlotLocation location;
    location.elementLocationTagDesc = kShort;
    return location;
}

/// The CIM type that a written value has, by the form that WMI asks for.
std::wstring WrittenType(const VARIANT& value) {
    switch (value.vt) {
        case VT_BSTR:
            return L"string";
        case VT_BOOL:
            return L"boolean";
        case VT_UI1:
            return L"uint8";
        case VT_I4:
            if (value.lVal == static_cast<LONG>(kLong)) return L"uint32";
            return value.lVal == kShort ? L"uint16" : L"a number of another width";
        case VT_ARRAY | VT_BSTR:
            return L"string[]";
        case VT_ARRAY | VT_I4:
            return L"uint16[]";  // there is no wider array
        default:
            return L"variant " + std::to_wstring(value.vt);
    }
}

std::wstring DeclaredType(const PropertyDef& property) {
    if (property.type.element == Cim::kReference) return L"string";  // a path
    return std::wstring(velkhost::CimKeyword(property.type.element)) + (property.type.isArray ? L"[]" : L"");
}

class PropertyTables : public velktest::ProviderBench {
  protected:
    PropertyTables() {
        PciDeviceListObject().Create();
        PciBridgeListObject().Create();
        SmbiosTableObject().Create();
        std::ifstream mof(velktest::ProjectFolder() / "mof" / "VelkWmiPci.mof", std::ios::binary);
        repository_.LoadMof(std::string(std::istreambuf_iterator<char>(mof), {}), "VelkWmiPci.mof");
    }
    ~PropertyTables() override {
        SmbiosTableObject().Destroy();
        PciBridgeListObject().Destroy();
        PciDeviceListObject().Destroy();
    }

    /// The provider writes these properties of the class, in this order, as what the class declares them.
    template <class Provider, class Record>
    void Fits(const wchar_t* wmiClass, const Record& record, const std::vector<CString>& names) {
        const ComPtr<Provider> provider(new Provider);
        const auto instance = FakeClassObject::Make();
        ASSERT_EQ(provider->FillInstance(instance.Get(), record), S_OK);
        EXPECT_EQ(instance->puts, names) << testing::PrintToString(std::wstring(wmiClass));

        const velkhost::ClassPtr declared = repository_.FindClass(L"root\\VKQ", wmiClass);
        ASSERT_TRUE(declared);
        for (const CString& name : instance->puts) {
            SCOPED_TRACE(testing::PrintToString(wmiClass + (L"." + name)));
            const PropertyDef* const property = declared->Find(name);
            if (property == nullptr) {
                ADD_FAILURE() << "the class declares no such property";
                continue;
            }
            EXPECT_EQ(property->name, name);
            EXPECT_EQ(WrittenType(*instance->Find(name)), DeclaredType(*property));
        }
    }

  private:
    velkhost::Repository repository_{L"SRV01"};
};

TEST_F(PropertyTables, OfTheFunctionsFitTheirClasses) {
    std::vector<CString> names = {L"SystemName",        L"DeviceID",
                                  L"CreationClassName", L"SystemCreationClassName",
                                  L"Capabilities",      L"CapabilityDescriptions",
                                  L"ElementName",       L"Name",
                                  L"Caption",           L"Description",
                                  L"VendorID",          L"PCIDeviceID",
                                  L"RevisionID",        L"BusNumber",
                                  L"DeviceNumber",      L"FunctionNumber",
                                  L"SubsystemID",       L"SubsystemVendorID",
                                  L"ClassCode"};
    Fits<CVelkPCIDeviceProv, CVelkPCIDevice>(L"Velk_PCIDevice", FullFunction(), names);
    // Of a bridge the class code comes early, and the kind of bridge last.
    names.pop_back();
    names.insert(names.begin() + 2, L"ClassCode");
    names.push_back(L"BridgeType");
    Fits<CVelkPCIBridgeProv>(L"Velk_PCIBridge", FullFunction(), names);
}

TEST_F(PropertyTables, OfSlotsAndCardsFitTheirClasses) {
    Fits<CVelkPCISlotProv>(
        L"Velk_PCISlot", FullSlot(),
        {L"CreationClassName", L"Name", L"ElementName", L"Tag", L"Number", L"Caption", L"Description",
         L"ConnectorPinout", L"ConnectorLayout", L"ConnectorType", L"OtherTypeDescription",
         L"SupportsHotPlug", L"PoweredOn", L"VendorCompatibilityStrings"});
    Fits<CVelkPCISlotLocationProv>(L"Velk_PCISlotLocation", FullLocation(),
                                   {L"ElementName", L"Name", L"Caption", L"Description",
                                    L"ElementLocationTag", L"ElementLocationTagDesc", L"PhysicalPosition"});
    Fits<CVelkPCICardProv>(L"Velk_PCICard", FullCard(),
                           {L"CreationClassName", L"Tag", L"Caption", L"Name", L"Description", L"ElementName",
                            L"VendorCompatibilityStrings", L"PackageType", L"HostingBoard", L"BusLayout"});
}

TEST_F(PropertyTables, OfTheAssociationsFitTheirClasses) {
    const CVelkAssociation pair = {L"a", L"b"};
    Fits<CVelkPCICardInSlotProv>(L"Velk_PCICardInSlot", pair, {L"Antecedent", L"Dependent"});
    Fits<CVelkPCISlotElementLocationProv>(L"Velk_PCISlotElementLocation", pair,
                                          {L"Element", L"PhysicalLocation"});
    Fits<CVelkRealizesPCIDeviceProv>(L"Velk_RealizesPCIDevice", pair, {L"Antecedent", L"Dependent"});
    Fits<CVelkSystemPCIDeviceProv>(L"Velk_SystemPCIDevice", pair, {L"PartComponent", L"GroupComponent"});
    Fits<CVelkSystemPCISlotProv>(L"Velk_SystemPCISlot", pair, {L"PartComponent", L"GroupComponent"});
}

}  // namespace
