#include "pci/velk_pci_bridge_prov.h"

#include "pci/function_keys.h"

namespace velk {

namespace {

constexpr ProviderClass kProviderClass = {L"CVelkPCIBridgeProv", CVelkPCIBridgeList::kWmiClass,
                                          L"VelkPCIBridgeProv", kFunctionKeys, true};

using Record = CVelkPCIBridge;
constexpr PropertyRow<Record> kProperties[] = {
    {L"SystemName", ComputerName{}},
    {L"DeviceID", &Record::deviceId},
    {L"ClassCode", &Record::classCode},
    {L"CreationClassName", CVelkPCIBridgeList::kWmiClass},
    {L"SystemCreationClassName", ComputerSystemClassName{}},
    {L"Capabilities", &SlotCapabilities<Record>},
    {L"CapabilityDescriptions", &SlotCapabilityDescriptions<Record>},
    {L"ElementName", &Record::elementName},
    {L"Name", &Record::name},
    {L"Caption", &Record::description},
    {L"Description", &Record::description},
    {L"VendorID", &Record::vendorId},
    {L"PCIDeviceID", &Record::pciDeviceId},
    {L"RevisionID", &Record::revisionId},
    {L"BusNumber", &Record::busNumber},
    {L"DeviceNumber", &Record::deviceNumber},
    {L"FunctionNumber", &Record::functionNumber},
    {L"SubsystemID", &Record::subsystemId},
    {L"SubsystemVendorID", &Record::subsystemVendorId},
    {L"BridgeType", &Record::bridgeType},
};

}  // namespace

CVelkPCIBridgeProv::CVelkPCIBridgeProv() : CInstanceProvider(kProviderClass, PciBridgeList(), kProperties) {}

bool CVelkPCIBridgeProv::KeysMatch(const RequestedKeys& keys, const CVelkPCIBridge& record) const {
    return FunctionKeysMatch(keys, CVelkPCIBridgeList::kWmiClass, record);
}

}  // namespace velk
