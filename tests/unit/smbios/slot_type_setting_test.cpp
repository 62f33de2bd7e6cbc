#include "smbios/slot_type_setting.h"

#include <gtest/gtest.h>

#include "smbios/smbios_table.h"
#include "support/hosted/provider_bench.h"
#include "support/registry_fixture.h"
#include "support/smbios_builder.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using velktest::kCommonLogKey;
using velktest::StandIn;

constexpr wchar_t kName[] = L"ModernSlotTypes";

class SlotTypeSettingTest : public ::testing::Test {
  protected:
    velktest::RegistryFixture registry;
};

TEST_F(SlotTypeSettingTest, IsOffWhereNothingIsSet) {
    EXPECT_EQ(ReadExpressTypes(), ExpressTypes::kToGeneration2) << "no key";
    registry.MakeKey(kCommonLogKey);
    EXPECT_EQ(ReadExpressTypes(), ExpressTypes::kToGeneration2) << "no value";
}

TEST_F(SlotTypeSettingTest, EveryNumberButZeroIsOn) {
    for (const DWORD value : {1UL, 2UL, 0x100UL, 0x80000000UL, 0xFFFFFFFFUL}) {
        registry.SetDword(kCommonLogKey, kName, value);
        EXPECT_EQ(ReadExpressTypes(), ExpressTypes::kModern) << value;
    }
    registry.SetDword(kCommonLogKey, kName, 0);
    EXPECT_EQ(ReadExpressTypes(), ExpressTypes::kToGeneration2);
}

TEST_F(SlotTypeSettingTest, AValueOfAnotherTypeOrSizeIsOff) {
    struct Row {
        DWORD type;
        std::vector<BYTE> bytes;
    };
    for (const auto& [type, bytes] :
         {Row{REG_SZ, {'1', 0, 0, 0}}, Row{REG_BINARY, {1, 0, 0, 0}},
          Row{REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}}, Row{REG_NONE, {1, 0, 0, 0}},
          Row{REG_DWORD_BIG_ENDIAN, {0, 0, 0, 1}}, Row{REG_MULTI_SZ, {'1', 0, 0, 0, 0, 0}},
          Row{REG_DWORD, {1, 0}}, Row{REG_DWORD, {1, 0, 0, 0, 0}}}) {
        registry.SetBytes(kCommonLogKey, kName, type, bytes.data(), static_cast<DWORD>(bytes.size()));
        EXPECT_EQ(ReadExpressTypes(), ExpressTypes::kToGeneration2)
            << "type " << type << ", " << bytes.size() << " bytes";
    }
}

TEST_F(SlotTypeSettingTest, StandsAtTheSuitesSettingsAndNowhereElse) {
    registry.SetDword(velktest::kLegacyLogKey, kName, 1);
    registry.SetDword(L"Software\\Velkor", kName, 1);
    EXPECT_EQ(ReadExpressTypes(), ExpressTypes::kToGeneration2);
}

/// How often the settings were opened.
int g_opened = 0;
LSTATUS WINAPI CountedOpen(HKEY, LPCWSTR path, DWORD, REGSAM, PHKEY) {
    if (EqualsIgnoringCase(path, kCommonLogKey)) ++g_opened;
    return ERROR_FILE_NOT_FOUND;
}

/// The setting as the readings of the slots see it.
class SlotReadingTest : public SlotTypeSettingTest {
  protected:
    void ServeModernServer() {
        velktest::ServeSmbios(wmi, velktest::TableOfSlots({{.id = 1, .type = 0xA5},
                                                           {.id = 2, .type = 0xBD},
                                                           {.id = 3, .type = 0xB7},
                                                           {.id = 4, .type = 0xC5}}));
    }

    velktest::LeakCheck leakCheck_;
    velktest::Apartment apartment_;
    velktest::FakeWmi wmi;
    SmbiosTable table;
};

TEST_F(SlotReadingTest, AChangeCountsFromTheNextReadingOnWithoutAnotherLoad) {
    ServeModernServer();
    EXPECT_EQ(table.CountPciSlots(), 1u);
    const std::size_t loads = wmi.connections.size();

    registry.SetDword(kCommonLogKey, kName, 1);
    EXPECT_EQ(table.CountPciSlots(), 2u);
    const SystemSlots slots = table.ReadSlots().value();
    ASSERT_EQ(slots.structures.size(), 4u);
    EXPECT_EQ(slots.structures[1].kind, SlotKind::kPciExpress);
    EXPECT_EQ(slots.structures[2].kind, SlotKind::kOther);
    EXPECT_EQ(slots.structures[3].kind, SlotKind::kOther);

    registry.SetDword(kCommonLogKey, kName, 0);
    EXPECT_EQ(table.CountPciSlots(), 1u);
    EXPECT_EQ(slots.structures[1].kind, SlotKind::kPciExpress) << "what was read keeps its mind";
    EXPECT_EQ(wmi.connections.size(), loads);
}

TEST_F(SlotReadingTest, TheSettingIsReadOnceInAReadingAndNotWithoutATable) {
    const StandIn open("RegOpenKeyExW", CountedOpen);
    g_opened = 0;
    table.ReadSlots();
    EXPECT_EQ(g_opened, 0);
    ServeModernServer();
    table.ReadSlots();
    EXPECT_EQ(g_opened, 1);
    table.CountPciSlots();
    EXPECT_EQ(g_opened, 2);
}

}  // namespace
}  // namespace velk
