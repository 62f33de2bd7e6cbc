#include "host/machine/machine_setup.h"

#include <gmock/gmock.h>

#include "support/temp_folder.h"

namespace {

using namespace velkhost;
using namespace velktest;
using testing::ElementsAre;

std::vector<std::wstring> MofNames(const Machine* machine, bool standalone) {
    std::vector<std::wstring> names;
    for (const auto& file : ShippedMofFiles(machine, standalone, L"mof"))
        names.push_back(file.filename().wstring());
    return names;
}

TEST(MachineSetup, TheSuiteIsThereOnlyWhereTheMachineOrTheOptionsSaySo) {
    Machine machine;
    EXPECT_THAT(MofNames(&machine, false), ElementsAre(L"VelkWmiPci.mof"));
    EXPECT_THAT(MofNames(nullptr, false), ElementsAre(L"VelkWmiPci.mof"));
    machine.suite = true;
    EXPECT_THAT(MofNames(&machine, false), ElementsAre(L"VelkWmiPci.mof", L"standalone.mof"));
    machine.suite = false;
    machine.objects.push_back({L"root\\VKQ", L"velk_computersystemchassis", "{}"});
    EXPECT_THAT(MofNames(&machine, false), ElementsAre(L"VelkWmiPci.mof", L"standalone.mof"));
    EXPECT_THAT(MofNames(nullptr, true), ElementsAre(L"VelkWmiPci.mof", L"standalone.mof"));
}

TEST(MachineSetup, TheShippedMofIsFoundInAFolderAbove) {
    const TempFolder folder;
    WriteBytes(folder.MakeFolder(L"mof") + L"VelkWmiPci.mof", "");
    EXPECT_EQ(FindShippedMof(folder.MakeFolder(L"build\\release")).filename(), L"mof");
}

TEST(MachineSetup, WithoutTheShippedMofTheFailureSaysWhatIsMissing) {
    EXPECT_THROW(FindShippedMof(L"Q:\\nowhere"), MachineError);
}

}  // namespace
