#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "common/handle.h"
#include "host/machine/machine_replay.h"
#include "support/hosted/project_folder.h"

namespace {

using velkhost::Machine;

std::vector<std::string> SampleNames() {
    std::vector<std::string> names;
    // This runs before main: a folder that is not found leaves no names, which a test of its own reports.
    std::error_code error;
    for (const auto& entry :
         std::filesystem::directory_iterator(velktest::ProjectFolder() / "machines", error)) {
        if (entry.path().extension() == ".json") names.push_back(entry.path().stem().string());
    }
    return names;
}

class SampleMachine : public testing::TestWithParam<std::string> {
  protected:
    Machine machine_ = velktest::LoadSampleMachine(GetParam());
};

TEST_P(SampleMachine, DevicesAreDistinctPciFunctions) {
    std::set<std::wstring> ids;
    for (const velkhost::PnpDevice& device : machine_.devices) {
        EXPECT_TRUE(device.instanceId.starts_with(L"PCI\\VEN_"));
        EXPECT_TRUE(ids.insert(device.instanceId).second);
        for (const int property : {SPDRP_DEVICEDESC, SPDRP_HARDWAREID, SPDRP_COMPATIBLEIDS,
                                   SPDRP_LOCATION_INFORMATION, SPDRP_LOCATION_PATHS, SPDRP_BUSNUMBER}) {
            EXPECT_TRUE(device.properties.contains(static_cast<DWORD>(property))) << property;
        }
    }
}

TEST_P(SampleMachine, ReplayShowsEveryDevice) {
    const std::size_t count = machine_.devices.size();
    const velkhost::MachineReplay replay(::GetModuleHandleW(nullptr), std::move(machine_));
    const velk::UniqueDeviceInfoSet set(
        ::SetupDiGetClassDevsW(nullptr, L"PCI", nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES));
    SP_DEVINFO_DATA data = {};
    data.cbSize = sizeof data;
    DWORD index = 0;
    while (::SetupDiEnumDeviceInfo(set.Get(), index, &data)) ++index;
    EXPECT_EQ(index, count);
}

INSTANTIATE_TEST_SUITE_P(Machines, SampleMachine, testing::ValuesIn(SampleNames()), [](const auto& instance) {
    std::string name = instance.param;
    for (char& c : name) {
        if (c == '-') c = '_';
    }
    return name;
});

TEST(SampleMachines, AreFound) { EXPECT_GE(SampleNames().size(), 8u); }

TEST(SampleMachines, RackServerHasWhatItIsShownFor) {
    const Machine machine = velktest::LoadSampleMachine("two-socket-rack-server");
    EXPECT_EQ(machine.names.dnsFullyQualified, L"rack17.example.com");
    EXPECT_EQ(machine.devices.size(), 32u);
    EXPECT_TRUE(machine.smbios);
    ASSERT_EQ(machine.objects.size(), 1u);
    EXPECT_EQ(machine.objects[0].className, L"Velk_ComputerSystemChassis");
}

TEST(SampleMachines, BareOnesLackWhatTheyAreNamedFor) {
    EXPECT_FALSE(velktest::LoadSampleMachine("no-smbios").smbios);
    const Machine bare = velktest::LoadSampleMachine("no-devices");
    EXPECT_TRUE(bare.devices.empty());
    EXPECT_FALSE(bare.names.dnsFullyQualified);
    EXPECT_FALSE(bare.names.dnsHostname);
    EXPECT_EQ(bare.names.netbios, L"BARE");
}

}  // namespace
