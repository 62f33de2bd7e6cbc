#pragma once

#include <gmock/gmock.h>

#include <string>

#include "host/utf8.h"
#include "host/wmi_host.h"
#include "tool/inventory/inventory.h"
#include "tool/inventory/wmi_reader.h"

namespace velktest {

/// Classes of the same names as the product's with static instances: one chassis, a slot with card and
/// function, an empty slot, a bridge and a function outside.
inline constexpr char kToolMof[] = R"(
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "VKQ"; };
#pragma namespace("\\\\.\\root\\VKQ")
class Velk_ComputerSystemChassis { [Key] string Tag; };
class Velk_PCISlot { [Key] string CreationClassName; [Key] string Tag;
    [ValueMap{"16", "23"}, Values{"PCI", "PCI-E x16"}] uint16 ConnectorLayout; uint16 ConnectorType[];
    string ConnectorPinout; boolean SupportsHotPlug; boolean PoweredOn; };
class Velk_PCISlotLocation { [Key] string Name; string PhysicalPosition; };
class Velk_PCICard { [Key] string Tag; };
class Velk_PCIDevice { [Key] string DeviceID; uint16 VendorID; uint16 PCIDeviceID; string Description;
    uint32 BusNumber; uint32 DeviceNumber; uint32 FunctionNumber; };
class Velk_PCIBridge { [Key] string DeviceID; uint16 VendorID; uint16 PCIDeviceID; string Description;
    uint32 BusNumber; uint32 DeviceNumber; uint32 FunctionNumber; [ValueMap{"4"}, Values{"PCI"}] uint16 BridgeType; };
[Association] class Velk_SystemPCIDevice { [Key] Velk_ComputerSystemChassis REF GroupComponent; [Key] Velk_PCIDevice REF PartComponent; };
[Association] class Velk_PCISlotElementLocation { [Key] Velk_PCISlot REF Element; [Key] Velk_PCISlotLocation REF PhysicalLocation; };
[Association] class Velk_SystemPCISlot { [Key] Velk_ComputerSystemChassis REF GroupComponent; [Key] Velk_PCISlot REF PartComponent; };
[Association] class Velk_PCICardInSlot { [Key] Velk_PCISlot REF Antecedent; [Key] Velk_PCICard REF Dependent; };
[Association] class Velk_RealizesPCIDevice { [Key] Velk_PCICard REF Antecedent; [Key] Velk_PCIDevice REF Dependent; };
instance of Velk_ComputerSystemChassis { Tag = "Box"; };
instance of Velk_PCISlot { CreationClassName = "Velk_PCISlot"; Tag = "PCI Slot 1"; ConnectorLayout = 23; ConnectorType = {1, 2}; SupportsHotPlug = FALSE; PoweredOn = TRUE; };
instance of Velk_PCISlot { CreationClassName = "Velk_PCISlot"; Tag = "PCI Slot 2"; ConnectorLayout = 16; SupportsHotPlug = TRUE; PoweredOn = FALSE; };
instance of Velk_PCICard { Tag = "PCI Card 1"; };
instance of Velk_PCIDevice { DeviceID = "F1"; VendorID = 32902; PCIDeviceID = 5490; Description = "Network"; BusNumber = 59; };
instance of Velk_PCIDevice { DeviceID = "F2"; VendorID = 1; PCIDeviceID = 2; Description = "Disk"; BusNumber = 0; };
instance of Velk_PCIBridge { DeviceID = "B1"; VendorID = 1; PCIDeviceID = 3; Description = "Root port"; BusNumber = 0; DeviceNumber = 1; BridgeType = 4; };
instance of Velk_SystemPCISlot { GroupComponent = "Velk_ComputerSystemChassis.Tag=\"Box\""; PartComponent = "\\\\SRV\\root\\VKQ:Velk_PCISlot.Tag=\"PCI Slot 1\",CreationClassName=\"Velk_PCISlot\""; };
instance of Velk_SystemPCISlot { GroupComponent = "Velk_ComputerSystemChassis.Tag=\"Box\""; PartComponent = "Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 2\""; };
instance of Velk_PCICardInSlot { Antecedent = "velk_pcislot.creationclassname=\"Velk_PCISlot\",tag=\"PCI Slot 1\""; Dependent = "Velk_PCICard.Tag=\"PCI Card 1\""; };
instance of Velk_RealizesPCIDevice { Antecedent = "Velk_PCICard.Tag=\"PCI Card 1\""; Dependent = "Velk_PCIDevice.DeviceID=\"F1\""; };
)";

/// The host of the test program as a source, without any file.
class TestSource final : public velkpci::Source {
  public:
    explicit TestSource(IWbemServices& services)
        : Source({velkpci::SourceInfo::Kind::kMachine, "box.json", "root\\VKQ"}), services_(services) {}
    IWbemServices& Services() const override { return services_; }

  private:
    IWbemServices& services_;
};

/// A host that knows the classes of a MOF text, and a reader on it.
class ToolTest : public testing::Test {
  protected:
    explicit ToolTest(const char* mof = kToolMof) {
        velkhost::Repository repository(L"SRV");
        repository.LoadMof(mof, "tool.mof");
        host_.emplace(std::move(repository));
        services_ = host_->Connect(L"root\\VKQ");
        source_.emplace(*services_);
        reader_.emplace(*source_, console_, false);
    }

    velkpci::InstancePtr Get(const std::wstring& path) {
        velkpci::InstancePtr instance;
        EXPECT_EQ(reader_->Get(path, instance), S_OK);
        return instance;
    }

    const velkpci::Console console_;
    std::optional<velkhost::WmiHost> host_;
    velk::ComPtr<IWbemServices> services_;
    std::optional<TestSource> source_;
    std::optional<velkpci::WmiReader> reader_;
};

inline constexpr wchar_t kSlot1[] = L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"";

}  // namespace velktest
