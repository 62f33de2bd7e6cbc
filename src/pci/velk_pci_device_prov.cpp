#include "pci/velk_pci_device_prov.h"

#include "pci/function_keys.h"

namespace velk {

namespace {

constexpr ProviderClass kProviderClass = {L"CVelkPCIDeviceProv", CVelkPCIDeviceList::kWmiClass,
                                          L"VelkPCIDeviceProv", kFunctionKeys, true};

using Record = CVelkPCIDevice;
constexpr PropertyRow<Record> kProperties[] = {
    {L"SystemName", ComputerName{}},
    {L"DeviceID", &Record::deviceId},
    {L"CreationClassName", CVelkPCIDeviceList::kWmiClass},
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
    {L"ClassCode", &Record::classCode},
};

}  // namespace

CVelkPCIDeviceProv::CVelkPCIDeviceProv() : CInstanceProvider(kProviderClass, PciDeviceList(), kProperties) {}

bool CVelkPCIDeviceProv::KeysMatch(const RequestedKeys& keys, const CVelkPCIDevice& record) const {
    return FunctionKeysMatch(keys, CVelkPCIDeviceList::kWmiClass, record);
}

}  // namespace velk
