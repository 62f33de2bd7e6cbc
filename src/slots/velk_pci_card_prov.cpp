#include "slots/velk_pci_card_prov.h"

namespace velk {

namespace {

constexpr const wchar_t* kKeys[] = {L"CreationClassName", L"Tag"};
constexpr std::size_t kClassKey = 0;
constexpr std::size_t kTagKey = 1;

constexpr ProviderClass kProviderClass = {L"CVelkPCICardProv", CVelkPCICardList::kWmiClass,
                                          L"VelkPCICardProv", kKeys, false};

using Record = CVelkPCICard;
constexpr PropertyRow<Record> kProperties[] = {
    {L"CreationClassName", CVelkPCICardList::kWmiClass},
    {L"Tag", &Record::tag},
    {L"Caption", &Record::caption},
    {L"Name", &Record::name},
    {L"Description", &Record::description},
    {L"ElementName", &Record::elementName},
    {L"VendorCompatibilityStrings", &Record::vendorCompatibilityStrings},
    {L"PackageType", &Record::packageType},
    {L"HostingBoard", &Record::hostingBoard},
    {L"BusLayout", &Record::busLayout},
};

}  // namespace

CVelkPCICardProv::CVelkPCICardProv() : CInstanceProvider(kProviderClass, ownList_, kProperties) {}

bool CVelkPCICardProv::KeysMatch(const RequestedKeys& keys, const CVelkPCICard& record) const {
    return keys.values[kTagKey] == record.tag && keys.values[kClassKey] == CVelkPCICardList::kWmiClass;
}

}  // namespace velk
