// Which properties of a device the scan asks for, in which order, and where it stops.

#include <gmock/gmock.h>

#include "pci/pci_bench.h"
#include "support/log_capture.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using velktest::Function;
using velktest::kNetwork;
using velktest::kPciBridge;
using velktest::LogCapture;
using velktest::StandIn;

/// What a device is left out without.
constexpr DWORD kNeeded[] = {SPDRP_COMPATIBLEIDS, SPDRP_LOCATION_INFORMATION, SPDRP_DEVICEDESC,
                             SPDRP_HARDWAREID};

std::vector<DWORD> g_asked;
/// The log, where a test wants to know what stood in it when the slot number was asked for.
const LogCapture* g_log = nullptr;
std::vector<CString> g_logAtUiNumber;
decltype(&::SetupDiGetDeviceRegistryPropertyW) g_answer = nullptr;

BOOL WINAPI NoteProperty(HDEVINFO set, PSP_DEVINFO_DATA device, DWORD property, PDWORD type, PBYTE buffer,
                         DWORD size, PDWORD required) {
    g_asked.push_back(property);
    if (property == SPDRP_UI_NUMBER && g_log != nullptr) g_logAtUiNumber = g_log->Lines();
    return g_answer(set, device, property, type, buffer, size, required);
}

class PropertyReadsTest : public velktest::PciBench {
  protected:
    PropertyReadsTest() {
        g_answer = record_.Original<decltype(g_answer)>();
        g_asked.clear();
        g_log = nullptr;
        g_logAtUiNumber.clear();
    }
    /// What a rebuild of the function list asks of this device alone.
    std::vector<DWORD> Asked(velkhost::PnpDevice device) {
        SetDevices({std::move(device)});
        g_asked.clear();
        EXPECT_NE(PciDeviceList().RebuildAndStamp(), 0u);
        return g_asked;
    }

  private:
    StandIn<decltype(&NoteProperty)> record_{"SetupDiGetDeviceRegistryPropertyW", &NoteProperty};
};

TEST_F(PropertyReadsTest, EveryPropertyIsAskedForOnceInTheSameOrder) {
    EXPECT_THAT(Asked(Function(kNetwork, L"bus 1, device 2, function 3")),
                ElementsAre(SPDRP_COMPATIBLEIDS, SPDRP_LOCATION_INFORMATION, SPDRP_DEVICEDESC,
                            SPDRP_HARDWAREID, SPDRP_LOCATION_PATHS, SPDRP_BUSNUMBER, SPDRP_UI_NUMBER));
}

TEST_F(PropertyReadsTest, AHardwareIdThatEndsTooEarlyIsJudgedBehindThePlaceAndBeforeTheSlotNumber) {
    EXPECT_THAT(Asked(Function(kNetwork, L"bus 1, device 2, function 3", L"PCI\\VEN_")),
                ElementsAre(SPDRP_COMPATIBLEIDS, SPDRP_LOCATION_INFORMATION, SPDRP_DEVICEDESC,
                            SPDRP_HARDWAREID, SPDRP_LOCATION_PATHS, SPDRP_BUSNUMBER));
}

TEST_F(PropertyReadsTest, ADeviceOfTheOtherListIsAskedForItsCompatibleIdsAlone) {
    EXPECT_THAT(Asked(Function(kPciBridge, L"bus 1, device 2, function 3")),
                ElementsAre(SPDRP_COMPATIBLEIDS));
}

TEST_F(PropertyReadsTest, WhatADeviceCannotBeListedWithoutEndsItsReading) {
    for (std::size_t missing = 0; missing < std::size(kNeeded); ++missing) {
        auto device = Function(kNetwork, L"bus 1, device 2, function 3");
        device.properties.erase(kNeeded[missing]);
        EXPECT_THAT(Asked(device), ::testing::ElementsAreArray(kNeeded, missing + 1));
    }
}

TEST_F(PropertyReadsTest, AllIsReadBeforeTheLogIsToldOfAPlaceThatCannotBeRead) {
    const LogCapture log;
    g_log = &log;
    Asked(Function(kNetwork, L"somewhere"));
    g_log = nullptr;
    EXPECT_EQ(g_asked.back(), static_cast<DWORD>(SPDRP_UI_NUMBER));
    EXPECT_THAT(g_logAtUiNumber, IsEmpty());
    EXPECT_THAT(log.Lines(),
                ElementsAre(L"[Information] CVelkPCIDeviceList::RebuildList| Could not parse Device Paths"));
}

DWORD g_largeProperty = 0;
/// Fills what there is room for, and tells as a success that there is more.
BOOL WINAPI AnswerWithMore(HDEVINFO set, PSP_DEVINFO_DATA device, DWORD property, PDWORD type, PBYTE buffer,
                           DWORD size, PDWORD required) {
    const BOOL answered = NoteProperty(set, device, property, type, buffer, size, required);
    if (property == g_largeProperty && required != nullptr) *required = 2049;
    return answered;
}

TEST_F(PropertyReadsTest, ATextThatNeedsMoreThanItsBufferIsNotReadAlsoWhenTheDatabaseCallsItASuccess) {
    const StandIn<decltype(&AnswerWithMore)> more("SetupDiGetDeviceRegistryPropertyW", &AnswerWithMore);
    SetDevices({Function(kNetwork, L"bus 1, device 2, function 3")});
    for (const DWORD property : kNeeded) {
        g_largeProperty = property;
        EXPECT_NE(PciDeviceList().RebuildAndStamp(), 0u);
        EXPECT_EQ(PciDeviceList().Count(), 0u) << property;
    }
    g_largeProperty = SPDRP_LOCATION_PATHS;
    EXPECT_NE(PciDeviceList().RebuildAndStamp(), 0u);
    EXPECT_EQ(PciDeviceList().Count(), 1u) << "the place is told by the location text";
}

int g_namesUntilFailure = 0;
decltype(&::GetComputerNameExW) g_computerName = nullptr;
BOOL WINAPI RunOutOfMemory(COMPUTER_NAME_FORMAT format, LPWSTR buffer, LPDWORD size) {
    if (g_namesUntilFailure-- == 0) throw std::bad_alloc();
    return g_computerName(format, buffer, size);
}

TEST_F(PropertyReadsTest, MemoryThatRunsOutAtOneDeviceFailsTheListAndDoesNotDropTheDevice) {
    SetDevices({Function(kNetwork, L"bus 1, device 0, function 0"),
                Function(kNetwork, L"bus 2, device 0, function 0"),
                Function(kNetwork, L"bus 3, device 0, function 0")});
    const StandIn<decltype(&RunOutOfMemory)> fail("GetComputerNameExW", &RunOutOfMemory);
    g_computerName = fail.Original<decltype(g_computerName)>();
    for (const int place : {0, 1, 2}) {
        g_namesUntilFailure = place;
        EXPECT_THROW(PciDeviceList().RebuildAndStamp(), std::bad_alloc);
        EXPECT_FALSE(PciDeviceList().Succeeded());
        EXPECT_EQ(PciDeviceList().Count(), 0u);
    }
    g_namesUntilFailure = 3;
    EXPECT_NE(PciDeviceList().RebuildAndStamp(), 0u);
    EXPECT_EQ(PciDeviceList().Count(), 3u);
}

TEST_F(PropertyReadsTest, AFailureAtALaterBridgeLeavesNoneOfTheBridgesBeforeIt) {
    SetDevices({Function(kPciBridge, L"bus 1, device 0, function 0"),
                Function(kPciBridge, L"bus 2, device 0, function 0")});
    const StandIn<decltype(&RunOutOfMemory)> fail("GetComputerNameExW", &RunOutOfMemory);
    g_computerName = fail.Original<decltype(g_computerName)>();
    g_namesUntilFailure = 1;
    EXPECT_THROW(PciBridgeList().RebuildAndStamp(), std::bad_alloc);
    EXPECT_EQ(PciBridgeList().Count(), 0u);
}

TEST_F(PropertyReadsTest, ANumberOfNoBytesIsZero) {
    velkhost::PnpDevice device = Function(kNetwork, L"bus 1, device 2, function 3");
    device.properties[SPDRP_UI_NUMBER] = {REG_DWORD, {}};
    SetDevices({device});
    EXPECT_NE(PciDeviceList().RebuildAndStamp(), 0u);
    ASSERT_EQ(PciDeviceList().Count(), 1u);
    EXPECT_EQ(PciDeviceList().At(0).uiNumber, 0u);
}

}  // namespace
}  // namespace velk
