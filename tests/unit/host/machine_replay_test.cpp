#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "common/handle.h"
#include "host/machine/machine_replay.h"
#include "support/registry_fixture.h"

namespace {

using velkhost::Machine;
using velkhost::MachineReplay;
using velkhost::PnpDevice;

PnpDevice Device(const wchar_t* description) {
    PnpDevice device;
    device.SetText(SPDRP_DEVICEDESC, description);
    return device;
}

/// The test program sees a machine of three devices: two present, of which one is no PCI device, and one that
/// is not there any more.
class MachineReplayTest : public testing::Test {
  protected:
    static Machine ThreeDevices() {
        Machine machine;
        machine.names.dnsHostname = L"host";
        machine.devices = {Device(L"first"), Device(L"gone"), Device(L"other")};
        machine.devices[1].present = false;
        machine.devices[2].enumerator = L"USB";
        return machine;
    }

    static velk::UniqueDeviceInfoSet Open(const wchar_t* enumerator, DWORD flags) {
        return velk::UniqueDeviceInfoSet(::SetupDiGetClassDevsW(nullptr, enumerator, nullptr, flags));
    }

    static int Count(const velk::UniqueDeviceInfoSet& set) {
        int count = 0;
        SP_DEVINFO_DATA data = {};
        data.cbSize = sizeof data;
        while (::SetupDiEnumDeviceInfo(set.Get(), static_cast<DWORD>(count), &data)) ++count;
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
        return count;
    }

    static SP_DEVINFO_DATA First(const velk::UniqueDeviceInfoSet& set) {
        SP_DEVINFO_DATA data = {};
        data.cbSize = sizeof data;
        EXPECT_TRUE(::SetupDiEnumDeviceInfo(set.Get(), 0, &data));
        return data;
    }

    MachineReplay replay_{::GetModuleHandleW(nullptr), ThreeDevices()};
};

TEST_F(MachineReplayTest, EnumeratorAndPresenceFilter) {
    EXPECT_EQ(Count(Open(L"pci", DIGCF_ALLCLASSES | DIGCF_PRESENT)), 1);
    EXPECT_EQ(Count(Open(L"PCI", DIGCF_ALLCLASSES)), 2);
    EXPECT_EQ(Count(Open(nullptr, DIGCF_ALLCLASSES)), 3);
}

TEST_F(MachineReplayTest, NoClassAtAllIsRefused) {
    EXPECT_EQ(::SetupDiGetClassDevsW(nullptr, L"PCI", nullptr, DIGCF_PRESENT), INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_FALSE(::SetupDiDestroyDeviceInfoList(INVALID_HANDLE_VALUE));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(MachineReplayTest, SetsAreCountedUntilDestroyed) {
    EXPECT_EQ(replay_.OpenDeviceSets(), 0u);
    {
        const auto one = Open(L"PCI", DIGCF_ALLCLASSES);
        const auto two = Open(L"PCI", DIGCF_ALLCLASSES);
        EXPECT_EQ(replay_.OpenDeviceSets(), 2u);
    }
    EXPECT_EQ(replay_.OpenDeviceSets(), 0u);
}

TEST_F(MachineReplayTest, DeviceDataMustNameItsSize) {
    const auto set = Open(L"PCI", DIGCF_ALLCLASSES);
    SP_DEVINFO_DATA data = {};
    EXPECT_FALSE(::SetupDiEnumDeviceInfo(set.Get(), 0, &data));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_USER_BUFFER));
    EXPECT_FALSE(::SetupDiEnumDeviceInfo(nullptr, 0, &data));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(MachineReplayTest, PropertyIsCopiedWithTypeAndSize) {
    const auto set = Open(L"PCI", DIGCF_ALLCLASSES);
    SP_DEVINFO_DATA data = First(set);
    wchar_t text[16] = {};
    DWORD type = 0;
    DWORD required = 0;
    ASSERT_TRUE(::SetupDiGetDeviceRegistryPropertyW(set.Get(), &data, SPDRP_DEVICEDESC, &type,
                                                    reinterpret_cast<BYTE*>(text), sizeof text, &required));
    EXPECT_STREQ(text, L"first");
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(required, 12u);
}

TEST_F(MachineReplayTest, SmallBufferLearnsTheSize) {
    const auto set = Open(L"PCI", DIGCF_ALLCLASSES);
    SP_DEVINFO_DATA data = First(set);
    BYTE buffer[11] = {};
    DWORD required = 0;
    EXPECT_FALSE(::SetupDiGetDeviceRegistryPropertyW(set.Get(), &data, SPDRP_DEVICEDESC, nullptr, buffer,
                                                     sizeof buffer, &required));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(required, 12u);
    EXPECT_EQ(buffer[0], 0);
}

TEST_F(MachineReplayTest, AbsentPropertyIsInvalidData) {
    const auto set = Open(L"PCI", DIGCF_ALLCLASSES);
    SP_DEVINFO_DATA data = First(set);
    DWORD number = 77;
    EXPECT_FALSE(::SetupDiGetDeviceRegistryPropertyW(set.Get(), &data, SPDRP_UI_NUMBER, nullptr,
                                                     reinterpret_cast<BYTE*>(&number), sizeof number,
                                                     nullptr));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_DATA));
    EXPECT_EQ(number, 77u);
    EXPECT_FALSE(::SetupDiGetDeviceRegistryPropertyW(set.Get(), &data, 0x1000, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_REG_PROPERTY));
}

TEST_F(MachineReplayTest, OpenSetKeepsItsDevicesWhenTheMachineChanges) {
    const auto set = Open(L"PCI", DIGCF_ALLCLASSES);
    replay_.Current().devices.clear();
    EXPECT_EQ(Count(set), 2);
    EXPECT_EQ(Count(Open(L"PCI", DIGCF_ALLCLASSES)), 0);
}

TEST_F(MachineReplayTest, ComputerNameFollowsTheSizeRules) {
    wchar_t name[8] = L"#######";
    DWORD size = 4;
    EXPECT_FALSE(::GetComputerNameExW(ComputerNameDnsHostname, name, &size));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(size, 5u);
    ASSERT_TRUE(::GetComputerNameExW(ComputerNameDnsHostname, name, &size));
    EXPECT_STREQ(name, L"host");
    EXPECT_EQ(size, 4u);
}

TEST_F(MachineReplayTest, NameThatTheMachineLacksFails) {
    wchar_t name[8] = {};
    DWORD size = 8;
    EXPECT_FALSE(::GetComputerNameExW(ComputerNameDnsFullyQualified, name, &size));
    EXPECT_FALSE(::GetComputerNameExW(ComputerNameNetBIOS, name, &size));
    replay_.Current().names.netbios = L"NB";
    EXPECT_TRUE(::GetComputerNameExW(ComputerNameNetBIOS, name, &size));
    EXPECT_STREQ(name, L"NB");
}

TEST_F(MachineReplayTest, HealthDriverIsAbsentAndOtherFilesAreNot) {
    const velk::UniqueFile driver(
        ::CreateFileW(LR"(\\.\vkxhlth)", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(driver);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    EXPECT_TRUE(velk::UniqueFile(
        ::CreateFileW(program, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr)));
}

/// The provider's settings through the registry's own functions.
class SettingsReplayTest : public MachineReplayTest {
  protected:
    static velk::UniqueRegistryKey OpenKey(const wchar_t* path) {
        velk::UniqueRegistryKey key;
        ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_QUERY_VALUE, key.Put());
        return key;
    }
    std::optional<DWORD> Read(const wchar_t* name) const {
        return registry_.GetDword(velktest::kCommonLogKey, name);
    }

    velktest::RegistryFixture registry_;
};

TEST_F(SettingsReplayTest, WithoutSettingsTheRegistryAnswers) {
    EXPECT_FALSE(Read(L"Setting"));
    registry_.SetDword(velktest::kCommonLogKey, L"Setting", 5);
    EXPECT_EQ(Read(L"Setting"), 5u);
    replay_.Current().settings.emplace();
    EXPECT_FALSE(Read(L"Setting")) << "a machine without settings of that name";
    replay_.Current().settings.reset();
    EXPECT_EQ(Read(L"Setting"), 5u);
}

TEST_F(SettingsReplayTest, SettingsAreReadByNameInAnyCase) {
    replay_.Current().settings.emplace()[L"Setting"] = velkhost::RegistryValue::Number(7);
    EXPECT_EQ(Read(L"SETTING"), 7u);
    EXPECT_FALSE(Read(L"Settin"));
    EXPECT_TRUE(OpenKey(L"SOFTWARE\\VELKOR\\wbem"));
}

TEST_F(SettingsReplayTest, OtherKeysAreTheRegistrys) {
    replay_.Current().settings.emplace()[L"Setting"] = velkhost::RegistryValue::Number(7);
    EXPECT_FALSE(OpenKey(L"Software\\Velkor\\WBEM\\ServerLOGGING"));
    const velk::UniqueRegistryKey windows = OpenKey(L"Software\\Microsoft\\Windows NT\\CurrentVersion");
    ASSERT_TRUE(windows);
    EXPECT_EQ(::RegQueryValueExW(windows.Get(), L"Setting", nullptr, nullptr, nullptr, nullptr),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(::RegQueryValueExW(windows.Get(), L"CurrentVersion", nullptr, nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
}

TEST_F(SettingsReplayTest, ValueFollowsTheSizeRules) {
    replay_.Current().settings.emplace()[L"Text"] = velkhost::RegistryValue::Text(L"abc");
    const velk::UniqueRegistryKey key = OpenKey(velktest::kCommonLogKey);
    ASSERT_TRUE(key);
    wchar_t text[8] = L"#######";
    auto* const data = reinterpret_cast<BYTE*>(text);
    DWORD type = 0;
    DWORD size = 7;
    EXPECT_EQ(::RegQueryValueExW(key.Get(), L"Text", nullptr, &type, data, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(text[0], L'#');
    size = 0;
    EXPECT_EQ(::RegQueryValueExW(key.Get(), L"Text", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(::RegQueryValueExW(key.Get(), L"Text", nullptr, nullptr, data, &size), ERROR_SUCCESS);
    EXPECT_STREQ(text, L"abc");
    EXPECT_EQ(::RegQueryValueExW(key.Get(), L"Text", nullptr, nullptr, data, nullptr),
              ERROR_INVALID_PARAMETER);
}

TEST_F(MachineReplayTest, SecondReplayIsRefused) {
    EXPECT_THROW(MachineReplay(::GetModuleHandleW(nullptr), Machine()), std::logic_error);
    EXPECT_EQ(Count(Open(L"PCI", DIGCF_ALLCLASSES)), 2);
}

TEST(MachineReplay, PlatformAnswersAgainAfterwards) {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    {
        Machine machine;
        machine.names.netbios = L"replayed!";
        const MachineReplay replay(::GetModuleHandleW(nullptr), machine);
        DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
        ASSERT_TRUE(::GetComputerNameExW(ComputerNameNetBIOS, name, &size));
        ASSERT_STREQ(name, L"replayed!");
    }
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    ASSERT_TRUE(::GetComputerNameExW(ComputerNameNetBIOS, name, &size));
    EXPECT_STRNE(name, L"replayed!");
}

}  // namespace
