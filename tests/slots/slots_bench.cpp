#include "slots/slots_bench.h"

#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "smbios/smbios_table.h"

namespace velktest {

namespace {

/// Calls visit(index) for each index of a one-dimensional array.
template <class Visitor>
void ForEachElement(const VARIANT* value, VARTYPE type, Visitor visit) {
    ASSERT_NE(value, nullptr);
    ASSERT_EQ(value->vt, type | VT_ARRAY);
    LONG last = -1;
    ::SafeArrayGetUBound(value->parray, 1, &last);
    for (LONG at = 0; at <= last; ++at) visit(at);
}

}  // namespace

SlotsBench::SlotsBench() : replay_(::GetModuleHandleW(nullptr), {}) {
    Machine().names.dnsFullyQualified = L"srv01.velkor.test";
    velk::PciDeviceListObject().Create();
    velk::PciBridgeListObject().Create();
    velk::SmbiosTableObject().Create();
}

SlotsBench::~SlotsBench() {
    velk::SmbiosTableObject().Destroy();
    velk::PciBridgeListObject().Destroy();
    velk::PciDeviceListObject().Destroy();
}

void SlotsBench::ServeTable(const Bytes& table) {
    ServeSmbios(wmi, table);
    EXPECT_TRUE(velk::Smbios().Load());
}

void SlotsBench::AddDevice(const wchar_t* compatibleId, DWORD slotNumber) {
    auto& device = Machine().devices.emplace_back();
    device.instanceId =
        velk::FormatText(L"PCI\\VEN_8086&DEV_1521\\%d", static_cast<int>(Machine().devices.size()));
    device.SetTexts(SPDRP_COMPATIBLEIDS, {compatibleId});
    device.SetText(SPDRP_LOCATION_INFORMATION, L"PCI bus 1, device 0, function 0");
    device.SetText(SPDRP_DEVICEDESC, L"A device");
    device.SetTexts(SPDRP_HARDWAREID, {L"PCI\\VEN_8086&DEV_1521&SUBSYS_00018086&REV_01"});
    if (slotNumber != 0) device.SetNumber(SPDRP_UI_NUMBER, slotNumber);
}

std::vector<int> Numbers(const VARIANT* value) {
    std::vector<int> numbers;
    ForEachElement(value, VT_I4, [&](LONG at) {
        LONG number = 0;
        ::SafeArrayGetElement(value->parray, &at, &number);
        numbers.push_back(number);
    });
    return numbers;
}

std::vector<velk::CString> Texts(const VARIANT* value) {
    std::vector<velk::CString> texts;
    ForEachElement(value, VT_BSTR, [&](LONG at) {
        velk::Bstr text;
        ::SafeArrayGetElement(value->parray, &at, text.Put());
        texts.emplace_back(text.View());
    });
    return texts;
}

int Number(const VARIANT* value) {
    if (value == nullptr) return -1;
    if (value->vt == VT_BOOL) return value->boolVal == VARIANT_TRUE ? 1 : 0;
    return value->vt == VT_I4 ? value->lVal : -1;
}

}  // namespace velktest
