#include "tool/inventory/inventory.h"

#include "host/com/wbem_codes.h"
#include "tool/inventory/links.h"
#include "tool/inventory/names.h"
#include "tool/inventory/status_names.h"
#include "tool_fixture.h"

namespace {

using namespace velkpci;
using namespace velktest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using InventoryTest = ToolTest;

TEST_F(InventoryTest, ThingsAreTiedByTheirAssociations) {
    const Inventory inventory = ReadInventory(*reader_);
    ASSERT_THAT(inventory.chassis, SizeIs(1));
    EXPECT_THAT(inventory.chassis[0].slots, ElementsAre(0, 1));
    ASSERT_THAT(inventory.slots, SizeIs(2));
    EXPECT_THAT(inventory.slots[0].cards, ElementsAre(0))
        << "names and order of keys in a path do not matter";
    EXPECT_EQ(inventory.slots[0].layout.name, "PCI-E x16");
    EXPECT_EQ(inventory.slots[0].layout.value, 23u);
    EXPECT_TRUE(inventory.slots[0].powered);
    EXPECT_TRUE(inventory.slots[0].inChassis);
    EXPECT_THAT(inventory.slots[1].cards, IsEmpty());
    ASSERT_THAT(inventory.cards, SizeIs(1));
    EXPECT_THAT(inventory.cards[0].slots, ElementsAre(0));
    ASSERT_THAT(inventory.functions, SizeIs(3));
    EXPECT_EQ(inventory.functions[0].id, "F2") << "by bus, device and function";
    EXPECT_EQ(inventory.functions[1].id, "B1");
    EXPECT_TRUE(inventory.functions[1].isBridge);
    EXPECT_EQ(inventory.functions[1].bridgeType.name, "PCI");
    EXPECT_EQ(inventory.functions[2].card, 0u);
    EXPECT_THAT(inventory.cards[0].functions, ElementsAre(2));
    EXPECT_THAT(inventory.links, SizeIs(4));
}

TEST_F(InventoryTest, EveryInstanceKeepsItsPathClassAndProperties) {
    const Inventory inventory = ReadInventory(*reader_);
    const Instance& slot = *inventory.slots[0].instance;
    EXPECT_EQ(slot.path, L"\\\\SRV\\root\\VKQ:" + std::wstring(kSlot1));
    EXPECT_EQ(slot.relativePath, kSlot1);
    EXPECT_EQ(slot.definition->name, L"Velk_PCISlot");
    EXPECT_EQ(slot.values.size(), slot.definition->properties.size());
    EXPECT_EQ(*slot.Find(L"connectorlayout"), Value::Unsigned(23));
    EXPECT_EQ(*slot.Find(L"ConnectorType"), Value::Array({Value::Unsigned(1), Value::Unsigned(2)}));
    EXPECT_TRUE(slot.Find(L"ConnectorPinout")->IsNull());
    EXPECT_EQ(slot.Find(L"Nothing"), nullptr);
    EXPECT_TRUE(slot.definition->Find(L"Tag")->isKey);
    EXPECT_EQ(slot.definition->Find(L"ConnectorType")->type, (CimType{Cim::kUInt16, true}));
}

TEST_F(InventoryTest, WhatAReferenceNamesAndNobodyPublishesIsKept) {
    std::vector<ClassData> classes;
    for (const wchar_t* name : InventoryClasses()) {
        ClassData data = reader_->Enumerate(name);
        if (data.name == L"Velk_PCICard" || data.name == L"Velk_PCIDevice") data.instances.clear();
        classes.push_back(std::move(data));
    }
    const Inventory inventory = BuildInventory(source_->Info(), std::move(classes));
    EXPECT_THAT(inventory.slots[0].missingCards, ElementsAre("Velk_PCICard.Tag=\"PCI Card 1\""));
    EXPECT_THAT(inventory.cards, IsEmpty());
}

TEST_F(InventoryTest, AFailedClassIsNotAnEmptyOne) {
    const ClassData unknown = reader_->Enumerate(L"Velk_Nothing");
    EXPECT_EQ(unknown.status, velkhost::kWbemInvalidClass);
    EXPECT_EQ(unknown.definition, nullptr);
    EXPECT_TRUE(IsFailure(unknown));
    const ClassData computer = reader_->Enumerate(L"Velk_WinComputerSystem");
    EXPECT_EQ(computer.status, velkhost::kWbemInvalidClass);
    EXPECT_FALSE(IsFailure(computer)) << "a machine may be without the suite";
    EXPECT_FALSE(IsFailure(reader_->Enumerate(L"Velk_PCISlotLocation")));
}

TEST_F(InventoryTest, AQueryGivesTheSelectedPropertiesAlone) {
    const ClassData found = reader_->Query(L"SELECT Tag FROM Velk_PCISlot WHERE SupportsHotPlug = TRUE");
    ASSERT_EQ(found.status, S_OK);
    ASSERT_THAT(found.instances, SizeIs(1));
    EXPECT_THAT(found.instances[0]->definition->properties, SizeIs(1));
    EXPECT_EQ(*found.instances[0]->Find(L"Tag"), Value::Text(L"PCI Slot 2"));
    EXPECT_TRUE(FAILED(reader_->Query(L"SELEC").status));
}

TEST_F(InventoryTest, OnlyClassesWithInstancesOfTheirOwnAreOfInterest) {
    std::vector<std::wstring> names;
    ASSERT_EQ(reader_->ClassNames(names), S_OK);
    EXPECT_THAT(names, testing::Contains(L"Velk_PCISlot"));
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    ClassPtr slot, location;
    ASSERT_EQ(reader_->Definition(L"velk_pcislot", slot), S_OK);
    ASSERT_EQ(reader_->Definition(L"Velk_PCISlotLocation", location), S_OK);
    EXPECT_TRUE(reader_->HasInstances(*slot));
    EXPECT_FALSE(reader_->HasInstances(*location));
}

TEST_F(InventoryTest, ReferencesOfAnInstanceAreFoundInEveryAssociation) {
    std::vector<FailedClass> failed;
    const auto found = ReferencesOf(*reader_, PathIdentity(L"Velk_PCICard.Tag=\"PCI Card 1\""), failed);
    EXPECT_THAT(failed, IsEmpty());
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].association->definition->name, L"Velk_PCICardInSlot");
    EXPECT_EQ(found[1].association->definition->name, L"Velk_RealizesPCIDevice");
}

TEST(Names, PathsAreTheSameInAnyOrderAndSpellingOfNamesButNotOfValues) {
    const auto one = PathIdentity(L"\\\\SRV\\root\\VKQ:Class.A=\"x\",B=\"y\"");
    EXPECT_EQ(one, PathIdentity(L"class.b='y',a='x'"));
    EXPECT_NE(one, PathIdentity(L"Class.A=\"X\",B=\"y\""));
}

TEST(Names, TheNearestWordIsOfferedAndAFarOneIsNot) {
    EXPECT_EQ(NearestWord("lisst", {"tree", "list", "dump"}), "list");
    EXPECT_EQ(NearestWord("VELK_PCISLTO", {"Velk_PCICard", "Velk_PCISlot"}), "Velk_PCISlot");
    EXPECT_EQ(NearestWord("nonsense", {"tree", "list"}), "");
    EXPECT_EQ(DidYouMean("gte", {"get"}), " (did you mean get?)");
}

TEST(StatusNames, AStatusIsNamedWithItsNumber) {
    EXPECT_EQ(DescribeStatus(velk::kWbemNotFound), "WBEM_E_NOT_FOUND (0x80041002)");
    EXPECT_EQ(DescribeStatus(E_OUTOFMEMORY), "E_OUTOFMEMORY (0x8007000E)");
    EXPECT_EQ(DescribeStatus(static_cast<HRESULT>(0x8FFFFFFF)), "0x8FFFFFFF");
    EXPECT_EQ(StatusName(static_cast<HRESULT>(0x8FFFFFFF)), "");
}

}  // namespace
