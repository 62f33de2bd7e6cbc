#include "slots/velk_pci_slot_prov.h"

namespace velk {

namespace {

constexpr const wchar_t* kKeys[] = {L"CreationClassName", L"Tag"};
constexpr std::size_t kTagKey = 1;

constexpr ProviderClass kProviderClass = {L"CVelkPCISlotProv", CVelkPCISlotList::kWmiClass,
                                          L"VelkPCISlotProv", kKeys, false};

using Record = CVelkPCISlot;
constexpr PropertyRow<Record> kProperties[] = {
    {L"CreationClassName", CVelkPCISlotList::kWmiClass},
    {L"Name", &Record::name},
    {L"ElementName", &Record::elementName},
    {L"Tag", &Record::tag},
    {L"Number", &Record::number},
    {L"Caption", &Record::caption},
    {L"Description", &Record::description},
    {L"ConnectorPinout", &Record::connectorPinout},
    {L"ConnectorLayout", &Record::connectorLayout},
    {L"ConnectorType", &Record::connectorType},
    {L"OtherTypeDescription", NonEmptyText<Record>{&Record::otherTypeDescription}},
    {L"SupportsHotPlug", &Record::supportsHotPlug},
    {L"PoweredOn", &Record::poweredOn},
    {L"VendorCompatibilityStrings", &Record::vendorCompatibilityStrings},
};

}  // namespace

CVelkPCISlotProv::CVelkPCISlotProv() : CInstanceProvider(kProviderClass, ownList_, kProperties) {}

// The tag alone tells slots apart: a path that leaves the class name out, or has another, finds the slot too.
bool CVelkPCISlotProv::KeysMatch(const RequestedKeys& keys, const CVelkPCISlot& record) const {
    return keys.values[kTagKey] == record.tag;
}

}  // namespace velk
