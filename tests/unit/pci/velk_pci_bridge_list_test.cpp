#include "pci/velk_pci_bridge_list.h"

#include <gmock/gmock.h>

#include <atomic>

#include "pci/pci_bench.h"
#include "support/log_capture.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using velktest::Function;
using velktest::kNetwork;

class CVelkPCIBridgeListTest : public velktest::PciBench {
  protected:
    std::vector<CVelkPCIBridge> Rebuilt() {
        EXPECT_NE(PciBridgeList().RebuildAndStamp(), 0u);
        return {PciBridgeList().begin(), PciBridgeList().end()};
    }
    velkhost::PnpDevice Bridge(const wchar_t* compatibleId, DWORD uiNumber = 0) {
        auto device = Function(compatibleId, L"bus 0, device 28, function 0");
        if (uiNumber != 0) device.SetNumber(SPDRP_UI_NUMBER, uiNumber);
        return device;
    }
};

TEST_F(CVelkPCIBridgeListTest, HoldsBridgesAndNothingElse) {
    SetDevices(
        {Bridge(L"PCI\\CC_060400"), Bridge(kNetwork), Bridge(L"PCI\\VEN_8086"), Bridge(L"PCI\\CC_0600")});
    EXPECT_EQ(Rebuilt().size(), 2u);
}

TEST_F(CVelkPCIBridgeListTest, ABridgeIsPublishedUnderItsOwnClass) {
    SetDevices({Bridge(L"PCI\\CC_060400")});
    const CVelkPCIBridge bridge = Rebuilt().front();
    EXPECT_EQ(bridge.deviceId, L"BUS(0)DEV(28)FN(0)");
    EXPECT_EQ(bridge.vendorId, 0x8086);
    EXPECT_EQ(bridge.objectPath,
              L"\\\\WMISERVER\\root\\VKQ:Velk_PCIBridge.CreationClassName=\"Velk_PCIBridge\",DeviceID=\"BUS("
              L"0)DEV(28)"
              L"FN(0)\",SystemCreationClassName=\"Velk_WinComputerSystem\",SystemName=\"srv01.example.net\"");
}

struct Subclass {
    const wchar_t* compatibleId;
    int bridgeType;
};

class CVelkPCIBridgeListTypes : public CVelkPCIBridgeListTest,
                                public ::testing::WithParamInterface<Subclass> {};

TEST_P(CVelkPCIBridgeListTypes, FollowTheSubclassAndTheClassCodeIsAlwaysSix) {
    SetDevices({Bridge(GetParam().compatibleId)});
    const auto records = Rebuilt();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records.front().bridgeType, GetParam().bridgeType);
    EXPECT_EQ(records.front().classCode, 6u);
}

INSTANTIATE_TEST_SUITE_P(
    CVelkPCIBridgeList, CVelkPCIBridgeListTypes,
    ::testing::Values(Subclass{L"PCI\\CC_0600", 0}, Subclass{L"PCI\\CC_0601", 1},
                      Subclass{L"PCI\\CC_060400&DT_4", 4}, Subclass{L"PCI\\CC_0608", 8},
                      Subclass{L"PCI\\CC_0609", 128}, Subclass{L"PCI\\CC_060A", 128},
                      Subclass{L"PCI\\CC_0680", 128},
                      // No number behind the class: nothing is read, which leaves a host bridge.
                      Subclass{L"PCI\\CC_06XY", 0}));

TEST_F(CVelkPCIBridgeListTest, AClassIdThatEndsBehindTheBaseClassLeavesTheDeviceOut) {
    SetDevices({Bridge(L"PCI\\CC_06")});
    EXPECT_THAT(Rebuilt(), IsEmpty());
}

TEST_F(CVelkPCIBridgeListTest, LogsUnderItsOwnName) {
    SetDevices({Function(L"PCI\\CC_0604", L"nowhere")});
    velktest::LogCapture log;
    Rebuilt();
    EXPECT_THAT(log.Lines(),
                ElementsAre(L"[Information] CVelkPCIBridgeList::RebuildList| Could not parse Device Paths"));
}

TEST_F(CVelkPCIBridgeListTest, HasNoSlotNumbersBeforeTheFirstRebuild) {
    EXPECT_EQ(PciBridgeList().SlotNumbers(), nullptr);
}

TEST_F(CVelkPCIBridgeListTest, PublishesTheSlotNumbersAboveZero) {
    SetDevices({Bridge(L"PCI\\CC_0604", 7), Bridge(L"PCI\\CC_0604"), Bridge(L"PCI\\CC_0604", 1),
                Bridge(L"PCI\\CC_0604", 7)});
    Rebuilt();
    EXPECT_THAT(*PciBridgeList().SlotNumbers(), ElementsAre(1u, 7u));
}

TEST_F(CVelkPCIBridgeListTest, ASnapshotOfTheSlotNumbersOutlivesTheNextRebuild) {
    SetDevices({Bridge(L"PCI\\CC_0604", 7)});
    Rebuilt();
    const auto snapshot = PciBridgeList().SlotNumbers();
    SetDevices({});
    Rebuilt();
    EXPECT_THAT(*snapshot, ElementsAre(7u));
    EXPECT_THAT(*PciBridgeList().SlotNumbers(), IsEmpty());
}

TEST_F(CVelkPCIBridgeListTest, AFailedRebuildForgetsTheSlotNumbers) {
    SetDevices({Bridge(L"PCI\\CC_0604", 7)});
    Rebuilt();
    Machine().names = {};
    EXPECT_EQ(PciBridgeList().RebuildAndStamp(), 0u);
    EXPECT_EQ(PciBridgeList().SlotNumbers(), nullptr);
}

TEST_F(CVelkPCIBridgeListTest, SlotNumbersMayBeReadWhileARebuildRuns) {
    SetDevices({Bridge(L"PCI\\CC_0604", 7), Bridge(L"PCI\\CC_0604", 9)});
    Rebuilt();
    struct Reader {
        std::atomic<bool> stop{false};
        std::atomic<int> odd{0};
    } reader;
    const auto read = [](void* context) -> DWORD {
        auto* self = static_cast<Reader*>(context);
        while (!self->stop) {
            const auto numbers = PciBridgeList().SlotNumbers();
            if (!numbers || *numbers != CVelkPCIBridgeList::SlotNumberSet{7, 9}) ++self->odd;
        }
        return 0;
    };
    const UniqueHandle thread(::CreateThread(nullptr, 0, read, &reader, 0, nullptr));
    for (int round = 0; round < 200; ++round) Rebuilt();
    reader.stop = true;
    ::WaitForSingleObject(thread.Get(), INFINITE);
    EXPECT_EQ(reader.odd, 0) << "a reader saw a set that no rebuild made";
}

}  // namespace
}  // namespace velk
