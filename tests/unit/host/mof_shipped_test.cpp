// The MOF files as they ship: what WMI's own compiler does not check is checked here.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <utility>

#include "host/model/repository.h"
#include "host/mof/parser.h"
#include "module/identifiers.h"
#include "support/hosted/project_folder.h"

namespace velkhost {
namespace {

constexpr wchar_t kNamespace[] = L"root\\VKQ";

std::string ReadMof(const char* name) {
    const auto path = velktest::ProjectFolder() / "mof" / name;
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

void Load(Repository& repository, const char* name) { repository.LoadMof(ReadMof(name), name); }

std::vector<std::wstring> KeysOf(const ClassDef& definition) {
    std::vector<std::wstring> keys;
    for (const PropertyDef& property : definition.properties) {
        if (property.isKey) keys.push_back(property.name);
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

class ShippedMof : public ::testing::Test {
  protected:
    ShippedMof() {
        Load(repository_, "VelkWmiPci.mof");
        Load(repository_, "standalone.mof");
    }
    const ClassDef& Class(const std::wstring& name) { return *repository_.FindClass(kNamespace, name); }
    std::vector<ClassPtr> Classes() {
        std::vector<ClassPtr> classes;
        for (const std::wstring& name : repository_.ClassNames(kNamespace)) {
            classes.push_back(repository_.FindClass(kNamespace, name));
        }
        return classes;
    }

    Repository repository_{L"SRV01"};
};

const std::map<std::wstring, std::vector<std::wstring>> kKeys = {
    {L"Velk_PCIDevice", {L"CreationClassName", L"DeviceID", L"SystemCreationClassName", L"SystemName"}},
    {L"Velk_PCIBridge", {L"CreationClassName", L"DeviceID", L"SystemCreationClassName", L"SystemName"}},
    {L"Velk_PCISlot", {L"CreationClassName", L"Tag"}},
    {L"Velk_PCISlotLocation", {L"Name", L"PhysicalPosition"}},
    {L"Velk_PCICard", {L"CreationClassName", L"Tag"}},
    {L"Velk_PCICardInSlot", {L"Antecedent", L"Dependent"}},
    {L"Velk_PCISlotElementLocation", {L"Element", L"PhysicalLocation"}},
    {L"Velk_RealizesPCIDevice", {L"Antecedent", L"Dependent"}},
    {L"Velk_SystemPCIDevice", {L"GroupComponent", L"PartComponent"}},
    {L"Velk_SystemPCISlot", {L"GroupComponent", L"PartComponent"}},
    {L"Velk_WinComputerSystem", {L"CreationClassName", L"Name"}},
    {L"Velk_ComputerSystemChassis", {L"CreationClassName", L"Tag"}},
};

TEST_F(ShippedMof, HoldsTheTenClassesAndTheTwoOfTheSuiteWithTheirKeys) {
    ASSERT_EQ(Classes().size(), kKeys.size());
    for (const auto& [name, keys] : kKeys) {
        ASSERT_NE(repository_.FindClass(kNamespace, name), nullptr) << std::string(name.begin(), name.end());
        EXPECT_EQ(KeysOf(Class(name)), keys);
    }
}

TEST_F(ShippedMof, StandsAloneWithoutSuperclasses) {
    for (const ClassPtr& one : Classes()) EXPECT_TRUE(one->derivation.empty());
}

TEST_F(ShippedMof, GivesEachDynamicClassARegisteredProviderOfItsOwn) {
    std::vector<std::wstring> names;
    for (const ClassPtr& one : Classes()) {
        const QualifierDef* dynamic = FindQualifier(one->qualifiers, L"Dynamic");
        HRESULT failure = S_OK;
        const auto provider = repository_.FindProvider(kNamespace, one->name, failure);
        EXPECT_EQ(provider.has_value(), dynamic != nullptr);
        EXPECT_EQ(failure, S_OK);
        if (!provider) continue;
        EXPECT_TRUE(provider->supportsGet && provider->supportsEnumeration);
        // Velk_PCIDevice is served by VelkPCIDeviceProv.
        EXPECT_EQ(provider->name, L"Velk" + one->name.substr(5) + L"Prov");
        names.push_back(provider->name);
    }
    EXPECT_EQ(names.size(), 10u);
}

TEST_F(ShippedMof, NamesEachClsidOnce) {
    std::vector<std::wstring> clsids;
    for (const auto& provider : repository_.StaticInstances(kNamespace, L"__Win32Provider")) {
        const ClassDef& definition = provider->Class();
        clsids.push_back(ToText(provider->At(definition.IndexOf(L"CLSID"))));
        EXPECT_EQ(ToText(provider->At(definition.IndexOf(L"HostingModel"))), L"NetworkServiceHost");
        // Said in so many words, though it is the default: as whom a provider acts is a matter of security.
        EXPECT_EQ(ToText(provider->At(definition.IndexOf(L"ImpersonationLevel"))), L"0");
    }
    EXPECT_EQ(clsids.size(), 10u);
    std::sort(clsids.begin(), clsids.end());
    EXPECT_EQ(std::adjacent_find(clsids.begin(), clsids.end()), clsids.end());
}

TEST_F(ShippedMof, NamesTheClsidsOfTheModule) {
    const std::pair<const wchar_t*, const CLSID&> served[] = {
        {L"Velk_PCIDevice", velk::kClsidVelkPCIDeviceProv},
        {L"Velk_PCIBridge", velk::kClsidVelkPCIBridgeProv},
        {L"Velk_PCISlot", velk::kClsidVelkPCISlotProv},
        {L"Velk_PCISlotLocation", velk::kClsidVelkPCISlotLocationProv},
        {L"Velk_PCICard", velk::kClsidVelkPCICardProv},
        {L"Velk_PCICardInSlot", velk::kClsidVelkPCICardInSlotProv},
        {L"Velk_PCISlotElementLocation", velk::kClsidVelkPCISlotElementLocationProv},
        {L"Velk_RealizesPCIDevice", velk::kClsidVelkRealizesPCIDeviceProv},
        {L"Velk_SystemPCIDevice", velk::kClsidVelkSystemPCIDeviceProv},
        {L"Velk_SystemPCISlot", velk::kClsidVelkSystemPCISlotProv},
    };
    for (const auto& [name, clsid] : served) {
        const auto named = repository_.ProviderClsid(kNamespace, name);
        ASSERT_TRUE(named) << name;
        EXPECT_TRUE(::IsEqualCLSID(*named, clsid)) << name;
    }
}

TEST_F(ShippedMof, LeavesQueriesAndChangesToWmi) {
    for (const auto& one : repository_.StaticInstances(kNamespace, L"__InstanceProviderRegistration")) {
        const ClassDef& definition = one->Class();
        EXPECT_TRUE(one->At(definition.IndexOf(L"QuerySupportLevels")).IsNull());
        EXPECT_EQ(ToText(one->At(definition.IndexOf(L"SupportsPut"))), L"FALSE");
        EXPECT_EQ(ToText(one->At(definition.IndexOf(L"SupportsDelete"))), L"FALSE");
    }
}

TEST_F(ShippedMof, HasAsManyValuesAsValueMapEntriesAndNoEntryTwice) {
    int mapped = 0;
    for (const ClassPtr& one : Classes()) {
        for (const PropertyDef& property : one->properties) {
            const QualifierDef* map = FindQualifier(property.qualifiers, L"ValueMap");
            const QualifierDef* values = FindQualifier(property.qualifiers, L"Values");
            ASSERT_EQ(map == nullptr, values == nullptr);
            if (map == nullptr) continue;
            ++mapped;
            auto entries = *map->value.As<Value::List>();
            EXPECT_EQ(entries.size(), values->value.As<Value::List>()->size());
            for (std::size_t i = 0; i < entries.size(); ++i) {
                EXPECT_EQ(std::count(entries.begin(), entries.end(), entries[i]), 1) << i;
            }
        }
    }
    EXPECT_EQ(mapped, 9);
}

TEST_F(ShippedMof, NamesTheValuesThatOccur) {
    const auto nameOf = [this](const wchar_t* className, const wchar_t* property, std::uint64_t value) {
        return ValueName(*Class(className).Find(property), Value::Unsigned(value)).value_or(L"none");
    };
    EXPECT_EQ(nameOf(L"Velk_PCIBridge", L"BridgeType", 4), L"PCI");
    EXPECT_EQ(nameOf(L"Velk_PCIBridge", L"BridgeType", 128), L"Other");
    EXPECT_EQ(nameOf(L"Velk_PCISlot", L"ConnectorLayout", 23), L"PCI-E x16");
    EXPECT_EQ(nameOf(L"Velk_PCISlot", L"ConnectorLayout", 0), L"Unknown");
    EXPECT_EQ(nameOf(L"Velk_PCISlot", L"ConnectorType", 98), L"PCI-X");
    EXPECT_EQ(nameOf(L"Velk_PCICard", L"BusLayout", 17), L"PCI-X");
    EXPECT_EQ(nameOf(L"Velk_PCICard", L"PackageType", 9), L"Module/Card");
}

TEST_F(ShippedMof, DescribesEveryClassAndProperty) {
    for (const ClassPtr& one : Classes()) {
        EXPECT_NE(FindQualifier(one->qualifiers, L"Description"), nullptr);
        for (const PropertyDef& property : one->properties) {
            EXPECT_NE(FindQualifier(property.qualifiers, L"Description"), nullptr);
            EXPECT_NE(FindQualifier(property.qualifiers, L"Read"), nullptr);
        }
    }
}

TEST_F(ShippedMof, HasReferencesInAssociationsOnly) {
    int associations = 0;
    for (const ClassPtr& one : Classes()) {
        const bool isAssociation = FindQualifier(one->qualifiers, L"Association") != nullptr;
        associations += isAssociation ? 1 : 0;
        for (const PropertyDef& property : one->properties) {
            EXPECT_EQ(property.type.element == Cim::kReference, isAssociation);
        }
    }
    EXPECT_EQ(associations, 5);
}

TEST_F(ShippedMof, TypesWhatTheProvidersWrite) {
    const std::map<std::wstring, CimType> device = {
        {L"SystemName", {Cim::kString}},
        {L"DeviceID", {Cim::kString}},
        {L"CreationClassName", {Cim::kString}},
        {L"SystemCreationClassName", {Cim::kString}},
        {L"Capabilities", {Cim::kUInt16, true}},
        {L"CapabilityDescriptions", {Cim::kString, true}},
        {L"ElementName", {Cim::kString}},
        {L"Name", {Cim::kString}},
        {L"Caption", {Cim::kString}},
        {L"Description", {Cim::kString}},
        {L"VendorID", {Cim::kUInt16}},
        {L"PCIDeviceID", {Cim::kUInt16}},
        {L"RevisionID", {Cim::kUInt8}},
        {L"BusNumber", {Cim::kUInt32}},
        {L"DeviceNumber", {Cim::kUInt32}},
        {L"FunctionNumber", {Cim::kUInt32}},
        {L"SubsystemID", {Cim::kUInt16}},
        {L"SubsystemVendorID", {Cim::kUInt16}},
        {L"ClassCode", {Cim::kUInt32}},
    };
    const std::map<std::wstring, CimType> slot = {
        {L"Number", {Cim::kUInt16}},           {L"ConnectorLayout", {Cim::kUInt16}},
        {L"ConnectorPinout", {Cim::kString}},  {L"ConnectorType", {Cim::kUInt16, true}},
        {L"SupportsHotPlug", {Cim::kBoolean}}, {L"OtherTypeDescription", {Cim::kString}},
        {L"PoweredOn", {Cim::kBoolean}},       {L"VendorCompatibilityStrings", {Cim::kString, true}},
    };
    const std::map<std::wstring, CimType> location = {{L"ElementLocationTag", {Cim::kString}},
                                                      {L"ElementLocationTagDesc", {Cim::kUInt16}}};
    const std::map<std::wstring, CimType> card = {{L"PackageType", {Cim::kUInt16}},
                                                  {L"HostingBoard", {Cim::kBoolean}},
                                                  {L"BusLayout", {Cim::kUInt16}},
                                                  {L"VendorCompatibilityStrings", {Cim::kString, true}}};
    const auto check = [this](const wchar_t* className, const std::map<std::wstring, CimType>& types) {
        for (const auto& [name, type] : types) {
            const PropertyDef* property = Class(className).Find(name);
            ASSERT_NE(property, nullptr) << std::string(name.begin(), name.end());
            EXPECT_EQ(property->type, type) << std::string(name.begin(), name.end());
        }
    };
    check(L"Velk_PCIDevice", device);
    check(L"Velk_PCIBridge", device);
    check(L"Velk_PCIBridge", {{L"BridgeType", {Cim::kUInt16}}});
    check(L"Velk_PCISlot", slot);
    check(L"Velk_PCISlotLocation", location);
    check(L"Velk_PCICard", card);
    EXPECT_EQ(Class(L"Velk_PCIDevice").properties.size(), 56u);
    EXPECT_EQ(Class(L"Velk_PCIBridge").properties.size(), 57u);
}

TEST_F(ShippedMof, HasExactlyOneChassis) {
    const auto chassis = repository_.StaticInstances(kNamespace, L"Velk_ComputerSystemChassis");
    ASSERT_EQ(chassis.size(), 1u);
    EXPECT_TRUE(chassis[0]->FullPath());
}

TEST_F(ShippedMof, IsPlainAscii) {
    // mofcomp takes a file without byte order mark for the machine's own code page.
    for (const char* name :
         {"VelkWmiPci.mof", "standalone.mof", "uninstall.mof", "uninstall-standalone.mof"}) {
        for (const char character : ReadMof(name)) {
            ASSERT_TRUE((character >= 0x20 && character < 0x7F) || character == '\n') << name;
        }
    }
}

TEST_F(ShippedMof, RecompilesOverItself) {
    Load(repository_, "VelkWmiPci.mof");
    EXPECT_EQ(repository_.StaticInstances(kNamespace, L"__Win32Provider").size(), 10u);
    EXPECT_EQ(repository_.StaticInstances(kNamespace, L"__InstanceProviderRegistration").size(), 10u);
}

TEST_F(ShippedMof, LeavesNothingOfItsOwnAfterUninstall) {
    Load(repository_, "uninstall.mof");
    EXPECT_EQ(repository_.ClassNames(kNamespace),
              (std::vector<std::wstring>{L"Velk_ComputerSystemChassis", L"Velk_WinComputerSystem"}));
    EXPECT_TRUE(repository_.StaticInstances(kNamespace, L"__Win32Provider").empty());
    EXPECT_TRUE(repository_.StaticInstances(kNamespace, L"__InstanceProviderRegistration").empty());
    Load(repository_, "uninstall.mof");
}

TEST_F(ShippedMof, RegistrationsAreRemovedInBothFormsThatWmiStores) {
    for (const auto& registration :
         repository_.StaticInstances(kNamespace, L"__InstanceProviderRegistration"))
        repository_.RemoveInstance(kNamespace, *registration->RelativePath());
    ASSERT_TRUE(repository_.StaticInstances(kNamespace, L"__InstanceProviderRegistration").empty());
    repository_.LoadMof(R"(#pragma namespace("\\\\.\\root\\VKQ")
instance of __InstanceProviderRegistration
{ Provider = "\\\\.\\root\\VKQ:__Win32Provider.Name=\"VelkPCIDeviceProv\""; };
instance of __InstanceProviderRegistration { Provider = "__Win32Provider.Name=\"VelkPCISlotProv\""; };)",
                        "both.mof");
    ASSERT_EQ(repository_.StaticInstances(kNamespace, L"__InstanceProviderRegistration").size(), 2u);
    Load(repository_, "uninstall.mof");
    EXPECT_TRUE(repository_.StaticInstances(kNamespace, L"__InstanceProviderRegistration").empty());
}

TEST_F(ShippedMof, TheSuitesClassesGoByAFileOfTheirOwn) {
    Load(repository_, "uninstall-standalone.mof");
    EXPECT_EQ(repository_.ClassNames(kNamespace).size(), 10u);
    EXPECT_EQ(repository_.FindClass(kNamespace, L"Velk_ComputerSystemChassis"), nullptr);
    Load(repository_, "uninstall.mof");
    Load(repository_, "uninstall-standalone.mof");
    EXPECT_TRUE(repository_.ClassNames(kNamespace).empty());
}

}  // namespace
}  // namespace velkhost
