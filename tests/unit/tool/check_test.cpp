#include "tool/check/verdict.h"

#include <aclapi.h>

#include <algorithm>

#include "support/fake_driver.h"
#include "support/temp_folder.h"
#include "tool/check/gather.h"
#include "tool/check/host_account.h"
#include "tool/view/check_view.h"
#include "tool_fixture.h"

namespace {

using namespace velkpci;
using namespace velktest;
using testing::HasSubstr;

/// The facts of a server on which all is well, made from the classes of the fixture.
class CheckTest : public ToolTest {
  protected:
    CheckTest() {
        facts_.programVersion = "1.0.0";
        facts_.registration = Registration{{}, {{"C:\\VelkWmiPci.dll", 0, "1.0.0"}}};
        facts_.wmi = Healthy();
        facts_.inProcess = Healthy();
        facts_.firmware = Firmware{true, "WMI", false, {{0xA5, 1, "PCIe 1"}, {0x06, 2, "PCI 2"}}};
        facts_.logs = Logs{"C:\\logs\\", true, true, 3, true, false, false};
    }

    Answers Healthy() {
        Answers answers;
        answers.inventory = ReadInventory(*reader_);
        ClassSetup setup{"Velk_PCISlot", true,     "VelkPCISlotProv",    true,
                         "{66AE}",       "{66AE}", "NetworkServiceHost", "0",
                         S_OK,           ""};
        answers.setups.push_back(setup);
        answers.resolutions.push_back({"Velk_PCICardInSlot", "path", S_OK, S_OK});
        return answers;
    }

    Verdict Of(const std::string& point) {
        const std::vector<Verdict> verdicts = Judge(facts_);
        const auto found = std::ranges::find(verdicts, point, &Verdict::point);
        if (found != verdicts.end()) return *found;
        ADD_FAILURE() << "no verdict on " << point;
        return {};
    }

    void ExpectFailure(const std::string& point, const std::string& detail) {
        const Verdict verdict = Of(point);
        EXPECT_EQ(verdict.outcome, Outcome::kFailed) << point;
        EXPECT_THAT(verdict.detail, HasSubstr(detail));
        EXPECT_NE(verdict.mend, "") << point;
    }
    void ExpectPassed(const std::string& point) {
        const Verdict verdict = Of(point);
        EXPECT_EQ(verdict.outcome, Outcome::kPassed) << point << ": " << verdict.detail;
    }

    Facts facts_;
};

TEST_F(CheckTest, AHealthyServerPassesWhatAppliesToIt) {
    for (const char* point :
         {"registration", "provider DLL", "versions", "namespace", "classes", "provider registrations",
          "hosting account", "Velk_PCISlot", "associations", "firmware table", "slot types",
          "slots as described", "log folder", "log of these requests", "lock of the log", "locks", "chassis"})
        ExpectPassed(point);
}

TEST_F(CheckTest, AClassThatIsNotRegisteredIsNamed) {
    facts_.registration->missing = {"Velk_PCICard"};
    ExpectFailure("registration", "Velk_PCICard");
    facts_.registration = Registration{{"Velk_PCICard"}, {}};
    EXPECT_EQ(Of("provider DLL").outcome, Outcome::kNotApplicable);
    EXPECT_EQ(Of("versions").outcome, Outcome::kNotApplicable);
}

TEST_F(CheckTest, TwoFilesThatServeTheClassesAreAFailure) {
    facts_.registration->files.push_back({"D:\\old.dll", 0, "1.0.0"});
    ExpectFailure("registration", "D:\\old.dll");
}

TEST_F(CheckTest, ADllThatDoesNotLoadIsToldWithItsError) {
    facts_.registration->files[0].loadError = 193;
    ExpectFailure("provider DLL", "193");
}

TEST_F(CheckTest, ADllOfAnotherVersionIsAFailure) {
    facts_.registration->files[0].version = "0.9.0";
    ExpectFailure("versions", "0.9.0");
    facts_.registration->files[0].version = "";
    ExpectFailure("versions", "without a version");
}

TEST_F(CheckTest, ARefusedConnectionIsAnAnswerAndTheDllIsToldInItsPlace) {
    facts_.wmi = Answers{};
    facts_.wmi->connected = static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE);
    facts_.wmi->refusal = "\\\\.\\root\\VKQ: no namespace";
    ExpectFailure("namespace", "no namespace");
    EXPECT_EQ(Of("Velk_PCISlot").detail, "2 instances in process");
    EXPECT_EQ(Of("log of these requests").outcome, Outcome::kNotApplicable);
}

TEST_F(CheckTest, AClassThatIsNotCompiledIsNamed) {
    facts_.wmi->setups[0].isCompiled = false;
    ExpectFailure("classes", "Velk_PCISlot");
    EXPECT_EQ(Of("provider registrations").outcome, Outcome::kNotApplicable);
}

TEST_F(CheckTest, EachFaultOfAProviderRegistrationIsFound) {
    const ClassSetup good = facts_.wmi->setups[0];
    ClassSetup& setup = facts_.wmi->setups[0];
    setup.provider = "";
    ExpectFailure("provider registrations", "names no provider");
    setup = good;
    setup.clsid = "";
    ExpectFailure("provider registrations", "is not there");
    EXPECT_EQ(Of("hosting account").outcome, Outcome::kNotApplicable);
    setup = good;
    setup.clsid = "{OTHER}";
    ExpectFailure("provider registrations", "{OTHER}");
    setup = good;
    setup.isRegistered = false;
    ExpectFailure("provider registrations", "not registered for instances");
}

TEST_F(CheckTest, AnotherHostingAccountIsAFailureAndAGroupOfItsOwnIsNone) {
    ClassSetup& setup = facts_.wmi->setups[0];
    setup.hostingModel = "NetworkServiceHost:VelkWmiPci";
    ExpectPassed("hosting account");
    setup.hostingModel = "LocalSystemHost";
    ExpectFailure("hosting account", "LocalSystemHost");
    setup.hostingModel = "NetworkServiceHostOrSelfHost";
    ExpectFailure("hosting account", "OrSelfHost");
    setup.hostingModel = "NetworkServiceHost";
    setup.impersonation = "1";
    ExpectFailure("hosting account", "1");
}

ClassData& SlotsOf(Answers& answers) {
    return *std::ranges::find_if(answers.inventory.classes,
                                 [](const ClassData& each) { return each.name == L"Velk_PCISlot"; });
}

TEST_F(CheckTest, AClassThatFailsIsToldWithItsStatus) {
    SlotsOf(*facts_.wmi).status = static_cast<HRESULT>(WBEM_E_PROVIDER_LOAD_FAILURE);
    ExpectFailure("Velk_PCISlot", "WBEM_E_PROVIDER_LOAD_FAILURE");
}

TEST_F(CheckTest, WmiAndTheDllAloneMustHaveTheSameKeys) {
    EXPECT_EQ(Of("Velk_PCISlot").detail, "2 instances, the same keys in process");
    SlotsOf(*facts_.inProcess).instances.pop_back();
    ExpectFailure("Velk_PCISlot", "PCI Slot 2");
    SlotsOf(*facts_.inProcess).status = static_cast<HRESULT>(WBEM_E_FAILED);
    ExpectFailure("Velk_PCISlot", "in process it fails");
}

TEST_F(CheckTest, AGetThatFailsOrFindsAnotherInstanceIsAFailure) {
    facts_.wmi->setups[0].got = static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    ExpectFailure("Velk_PCISlot", "WBEM_E_NOT_FOUND");
    facts_.wmi->setups[0].got = S_OK;
    facts_.wmi->setups[0].gotOther = "other";
    ExpectFailure("Velk_PCISlot", "gave other");
}

TEST_F(CheckTest, AnAssociationThatLeadsToNothingIsAFailure) {
    facts_.wmi->resolutions[0].from = static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    ExpectFailure("associations", "leads to nothing");
    facts_.wmi->resolutions[0] = {"Velk_PCICardInSlot", "path", S_OK, static_cast<HRESULT>(WBEM_E_FAILED)};
    ExpectFailure("associations", "WBEM_E_FAILED");
    facts_.wmi->resolutions.clear();
    EXPECT_EQ(Of("associations").outcome, Outcome::kNotApplicable);
}

TEST_F(CheckTest, PathsOfAssociationsMustNameTheServer) {
    ExpectFailure("server in paths", "names no server");
    for (Link& link : facts_.wmi->inventory.links) link.from = link.to = "\\\\SRV\\root\\VKQ:X.Y=1";
    EXPECT_EQ(Of("server in paths").detail, "\\\\SRV");
    facts_.wmi->inventory.links[0].to = "\\\\\\root\\VKQ:X.Y=1";
    ExpectFailure("server in paths", "\\\\\\root");
    facts_.wmi->inventory.links[0].to = "";
    ExpectFailure("server in paths", "an end of");
}

TEST_F(CheckTest, ThereMustBeOneChassisAlone) {
    ClassData& chassis = *std::ranges::find_if(facts_.wmi->inventory.classes, [](const ClassData& each) {
        return each.name == L"Velk_ComputerSystemChassis";
    });
    chassis.instances.push_back(chassis.instances.front());
    ExpectFailure("chassis", "2 instances");
    chassis.instances.clear();
    ExpectFailure("chassis", "0 instances");
    ExpectFailure("computer system", "no class");
}

TEST_F(CheckTest, SlotsThatAreLeftOutByTheirTypeAreNamed) {
    facts_.firmware->slots = {{0xB6, 1, "RISER 1"}, {0xA5, 2, "PCIe 2"}, {0x17, 3, "M.2"}};
    ExpectFailure("slot types", "\"RISER 1\" (B6h)");
    ExpectFailure("slot types", "no PCI slots: \"M.2\" (17h)");
    EXPECT_THAT(Of("slot types").mend, HasSubstr("ModernSlotTypes"));
    facts_.firmware->hasModernTypes = true;
    const Verdict verdict = Of("slot types");
    EXPECT_EQ(verdict.outcome, Outcome::kPassed);
    EXPECT_EQ(verdict.detail, "2 slots of PCI types; no PCI slots: \"M.2\" (17h)");
}

TEST_F(CheckTest, SlotsThatTheHostDoesNotSeeAreAFailure) {
    facts_.wmi->inventory.slots.clear();
    ExpectFailure("slots as described", "2 PCI slots, Velk_PCISlot lists 0");
}

TEST_F(CheckTest, AnUnreadableTableIsAFailureAndItsSlotsAreNotKnown) {
    facts_.firmware = Firmware{false, "the health driver", false, {}};
    ExpectFailure("firmware table", "the health driver");
    EXPECT_EQ(Of("slot types").outcome, Outcome::kNotApplicable);
    EXPECT_EQ(Of("slots as described").outcome, Outcome::kNotApplicable);
}

TEST_F(CheckTest, AHotPlugSlotWhoseNumberNoBridgeReportsCanNeverHavePower) {
    Inventory& inventory = facts_.wmi->inventory;
    inventory.slots[1].number = 2;
    ExpectFailure("power of hot-plug slots", "the number of PCI Slot 2:");
    inventory.functions.front().slotNumber = 2;
    ASSERT_FALSE(inventory.functions.front().isBridge);
    ExpectFailure("power of hot-plug slots", "PCI Slot 2 (its card has the number)");
    inventory.functions.front().isBridge = true;
    ExpectPassed("power of hot-plug slots");
    for (Slot& slot : facts_.wmi->inventory.slots) slot.hotPlug = false;
    EXPECT_EQ(Of("power of hot-plug slots").outcome, Outcome::kNotApplicable);
}

TEST_F(CheckTest, EachFaultOfTheLogsIsFound) {
    const Logs good = *facts_.logs;
    facts_.logs->hostMayWrite = false;
    ExpectFailure("log folder", "NETWORK SERVICE");
    facts_.logs->isThere = false;
    ExpectFailure("log folder", "is not there");
    facts_.logs = good;
    facts_.logs->hasGrown = false;
    ExpectFailure("log of these requests", "no new line");
    facts_.logs->level = 5;
    EXPECT_EQ(Of("log of these requests").outcome, Outcome::kNotApplicable);
    facts_.logs->hasMutexError = true;
    ExpectFailure("lock of the log", "MutexError");
    facts_.logs->hasLockFailures = true;
    ExpectFailure("locks", "new lines");
}

TEST_F(CheckTest, WhatCannotBeAskedOfAnotherComputerDoesNotApply) {
    facts_.registration.reset();
    facts_.inProcess.reset();
    facts_.firmware.reset();
    facts_.logs.reset();
    for (const char* point : {"registration", "provider DLL", "versions", "firmware table", "slot types",
                              "slots as described", "log folder", "locks"})
        EXPECT_EQ(Of(point).outcome, Outcome::kNotApplicable) << point;
    EXPECT_EQ(Of("Velk_PCISlot").detail, "2 instances");
}

/// A machine file with a slot of PCI Express 3 and one without a name, and these settings.
Firmware FirmwareOf(const std::string& settings) {
    const TempFolder folder;
    WriteBytes(
        folder.Path(L"machine.json"),
        R"({"smbios": {"version": "3.0", "hex": ["09 0d 00 00 01 b1 08 03 03 05 00 00 00 52 31 00 00",)"
        R"("09 0d 00 00 00 06 05 03 03 07 00 00 00 00 00", "7f 04 00 00 00 00"]})" +
            settings + "}");
    SourceOptions options;
    options.machine = velkhost::Utf8FromWide(folder.Path(L"machine.json"));
    return GatherFirmware(options);
}

TEST(GatherFirmware, SlotsOfAMachineFileHaveTypeIdAndName) {
    const Firmware firmware = FirmwareOf("");
    EXPECT_TRUE(firmware.isReadable);
    ASSERT_EQ(firmware.slots.size(), 2u);
    EXPECT_EQ(firmware.slots[0].type, 0xB1);
    EXPECT_EQ(firmware.slots[0].id, 5);
    EXPECT_EQ(firmware.slots[0].designation, "R1");
    EXPECT_EQ(firmware.slots[1].type, 0x06);
    EXPECT_EQ(firmware.slots[1].designation, "");
}

TEST(GatherFirmware, AllSlotsOfThisComputersTableAreRead) {
    FakeDriver driver;
    std::vector<SmbiosBuilder::Slot> slots;
    for (std::uint16_t id = 1; id <= 300; ++id) slots.push_back({.id = id});
    driver.PutTable(TableOfSlots(slots));
    const Firmware firmware = GatherFirmware({});
    EXPECT_EQ(firmware.way, "the health driver");
    ASSERT_EQ(firmware.slots.size(), 300u);
    EXPECT_EQ(firmware.slots.back().id, 300);
}

TEST(GatherFirmware, TheSettingCountsAsTheProviderReadsIt) {
    EXPECT_TRUE(FirmwareOf(R"(, "settings": {"ModernSlotTypes": 1})").hasModernTypes);
    EXPECT_FALSE(FirmwareOf(R"(, "settings": {"ModernSlotTypes": 0})").hasModernTypes);
    EXPECT_FALSE(FirmwareOf(R"(, "settings": {})").hasModernTypes);
    EXPECT_FALSE(FirmwareOf(R"(, "settings": {"ModernSlotTypes": "1"})").hasModernTypes);
    EXPECT_FALSE(FirmwareOf(R"(, "settings": {"ModernSlotTypes": {"type": "REG_DWORD", "hex": "01 00"}})")
                     .hasModernTypes);
}

TEST(CheckView, FailuresStandOutWithWhatMendsThem) {
    EXPECT_EQ(FormatVerdicts({{"classes", Outcome::kPassed, "ten", ""},
                              {"locks", Outcome::kFailed, "new lines", "wait"},
                              {"log", Outcome::kNotApplicable, "elsewhere", ""}}),
              "passed  classes  ten\n"
              "FAILED  locks    new lines\n"
              "                 -> wait\n"
              "-       log      elsewhere\n"
              "\n1 passed, 1 failed, 1 not applicable\n");
}

/// An access control list with one entry after the other.
class List {
  public:
    List() { ::InitializeAcl(Get(), sizeof bytes_, ACL_REVISION); }
    ACL* Get() { return reinterpret_cast<ACL*>(bytes_); }
    List& Allow(WELL_KNOWN_SID_TYPE who, DWORD rights, DWORD flags = 0) {
        EXPECT_TRUE(::AddAccessAllowedAceEx(Get(), ACL_REVISION, flags, rights, Sid(who)));
        return *this;
    }
    List& Deny(WELL_KNOWN_SID_TYPE who, DWORD rights) {
        EXPECT_TRUE(::AddAccessDeniedAce(Get(), ACL_REVISION, rights, Sid(who)));
        return *this;
    }

  private:
    PSID Sid(WELL_KNOWN_SID_TYPE who) {
        DWORD size = sizeof sid_;
        EXPECT_TRUE(::CreateWellKnownSid(who, nullptr, sid_, &size));
        return sid_;
    }
    alignas(ACL) BYTE bytes_[1024];
    BYTE sid_[SECURITY_MAX_SID_SIZE];
};

TEST(HostAccount, RightsAddUpOverTheIdentitiesOfTheHost) {
    EXPECT_TRUE(IsGrantedToHost(nullptr, FILE_ADD_FILE));
    EXPECT_FALSE(IsGrantedToHost(List().Get(), FILE_ADD_FILE));
    EXPECT_FALSE(
        IsGrantedToHost(List().Allow(WinBuiltinAdministratorsSid, FILE_ALL_ACCESS).Get(), FILE_ADD_FILE));
    EXPECT_TRUE(IsGrantedToHost(List().Allow(WinNetworkServiceSid, GENERIC_WRITE).Get(), FILE_ADD_FILE));
    EXPECT_TRUE(IsGrantedToHost(
        List().Allow(WinWorldSid, FILE_READ_DATA).Allow(WinBuiltinUsersSid, FILE_WRITE_DATA).Get(),
        FILE_READ_DATA | FILE_WRITE_DATA));
    EXPECT_FALSE(
        IsGrantedToHost(List().Allow(WinWorldSid, FILE_READ_DATA).Get(), FILE_READ_DATA | FILE_WRITE_DATA));
}

TEST(HostAccount, OrderDecidesAndEntriesForChildrenDoNotCount) {
    EXPECT_FALSE(IsGrantedToHost(
        List().Deny(WinServiceSid, FILE_WRITE_DATA).Allow(WinNetworkServiceSid, FILE_ALL_ACCESS).Get(),
        FILE_WRITE_DATA));
    EXPECT_TRUE(IsGrantedToHost(
        List().Allow(WinNetworkServiceSid, FILE_ALL_ACCESS).Deny(WinServiceSid, FILE_WRITE_DATA).Get(),
        FILE_WRITE_DATA));
    EXPECT_FALSE(IsGrantedToHost(List().Allow(WinNetworkServiceSid, FILE_ALL_ACCESS, INHERIT_ONLY_ACE).Get(),
                                 FILE_WRITE_DATA));
}

TEST(HostAccount, AFileThatIsNotThereGrantsNothing) {
    EXPECT_FALSE(HostMay(L"C:\\no\\such\\folder", FILE_ADD_FILE));
}

}  // namespace
