#include "support/temp_folder.h"
#include "tool/basics/errors.h"
#include "tool/basics/files.h"
#include "tool/view/prometheus_view.h"
#include "tool_fixture.h"

namespace {

using namespace velkpci;
using namespace velktest;
using testing::HasSubstr;
using testing::Not;

using ExportTest = ToolTest;

TEST_F(ExportTest, SlotsCardsAndFunctionsAreGauges) {
    const std::string text = FormatAsPrometheus(ReadInventory(*reader_));
    EXPECT_THAT(text, HasSubstr("# TYPE velk_pci_slots gauge\nvelk_pci_slots 2\n"));
    EXPECT_THAT(text, HasSubstr("velk_pci_slot_occupied{slot=\"PCI Slot 1\",number=\"\",layout=\"PCI-E x16\","
                                "hotplug=\"false\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("velk_pci_slot_occupied{slot=\"PCI Slot 2\",number=\"\",layout=\"PCI\","
                                "hotplug=\"true\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("velk_pci_slot_powered{slot=\"PCI Slot 2\",number=\"\",layout=\"PCI\","
                                "hotplug=\"true\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("velk_pci_cards 1\n"));
    EXPECT_THAT(text, HasSubstr("velk_pci_functions{kind=\"device\",class=\"0\",name=\"Unclassified\"} 2\n"));
    EXPECT_THAT(text, HasSubstr("velk_pci_class_up{class=\"Velk_PCISlot\"} 1\n"));
    EXPECT_THAT(text, Not(HasSubstr("Velk_WinComputerSystem")));
}

TEST_F(ExportTest, AFailedClassIsNotCountedAsNone) {
    Inventory inventory = ReadInventory(*reader_);
    for (ClassData& data : inventory.classes) data.status = static_cast<HRESULT>(WBEM_E_FAILED);
    const std::string text = FormatAsPrometheus(inventory);
    EXPECT_THAT(text, HasSubstr("velk_pci_class_up{class=\"Velk_PCISlot\"} 0\n"));
    for (const char* gauge : {"velk_pci_slot", "velk_pci_cards", "velk_pci_functions"})
        EXPECT_THAT(text, Not(HasSubstr(gauge)));
}

TEST_F(ExportTest, TextsOfFirmwareCannotBreakALabel) {
    Inventory inventory = ReadInventory(*reader_);
    inventory.slots[0].tag = "a\"b\\c\nd";
    EXPECT_THAT(FormatAsPrometheus(inventory), HasSubstr("{slot=\"a\\\"b\\\\c\\nd\","));
}

TEST(WriteFileWhole, TheWholeTextTakesThePlaceOfWhatWasThere) {
    const TempFolder folder;
    const std::string file = velkhost::Utf8FromWide(folder.Path(L"größe.txt"));
    WriteFileWhole(file, "old and long");
    WriteFileWhole(file, "new");
    EXPECT_EQ(ReadBytes(folder.Path(L"größe.txt")), "new");
    WIN32_FIND_DATAW found{};
    const HANDLE beside = ::FindFirstFileW(folder.Path(L"größe.txt.*.tmp").c_str(), &found);
    EXPECT_EQ(beside, INVALID_HANDLE_VALUE) << "something is left beside it";
}

TEST(WriteFileWhole, APlaceThatCannotBeWrittenIsNamedWithTheReason) {
    const TempFolder folder;
    const std::string file = velkhost::Utf8FromWide(folder.Path(L"none\\file.txt"));
    try {
        WriteFileWhole(file, "text");
        FAIL();
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), testing::StartsWith(file + ": cannot be written: "));
    }
    // A folder of that name stays, and nothing is left beside it.
    folder.MakeFolder(L"taken");
    EXPECT_THROW(WriteFileWhole(velkhost::Utf8FromWide(folder.Path(L"taken")), "text"), InputError);
    WIN32_FIND_DATAW found{};
    EXPECT_EQ(::FindFirstFileW(folder.Path(L"taken.*.tmp").c_str(), &found), INVALID_HANDLE_VALUE);
}

}  // namespace
