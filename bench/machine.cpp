#include "bench/machine.h"

#include <algorithm>

#include "common/text.h"
#include "support/smbios_builder.h"

namespace velkbench {
namespace {

unsigned SlotsOf(unsigned functions) { return std::clamp(functions / 16, 8U, 64U); }

velkhost::PnpDevice MakeFunction(unsigned number, unsigned slots) {
    const unsigned bus = number / 256 * 16 + number / 8 % 16, device = number / 128 % 2,
                   function = number % 8;
    const bool isBridge = number % 8 == 7;
    const std::wstring id = velk::FormatText(L"PCI\\VEN_8086&DEV_%04X&SUBSYS_0A208086&REV_07", number);
    velkhost::PnpDevice made;
    made.instanceId = id + velk::FormatText(L"\\%08X", number);
    made.SetText(SPDRP_DEVICEDESC, isBridge ? L"PCI-to-PCI Bridge" : L"Ethernet Controller");
    made.SetTexts(SPDRP_HARDWAREID, {id, id.substr(0, id.rfind(L'&')), id.substr(0, id.find(L'&'))});
    made.SetTexts(SPDRP_COMPATIBLEIDS, {L"PCI\\VEN_8086", isBridge ? L"PCI\\CC_060400" : L"PCI\\CC_020000",
                                        isBridge ? L"PCI\\CC_0604" : L"PCI\\CC_0200"});
    made.SetText(SPDRP_LOCATION_INFORMATION,
                 velk::FormatText(L"PCI bus %u, device %u, function %u", bus, device, function));
    made.SetTexts(SPDRP_LOCATION_PATHS, {velk::FormatText(L"PCIROOT(0)#PCI(%02X%02X)", device, function)});
    made.SetNumber(SPDRP_BUSNUMBER, bus);
    if (number / 8 < slots) made.SetNumber(SPDRP_UI_NUMBER, number / 8 + 1);
    return made;
}

}  // namespace

velkhost::Machine MakeMachine(unsigned functions) {
    velkhost::Machine machine;
    machine.names = {L"server17.example.com", L"server17", L"SERVER17"};
    machine.suite = true;
    for (unsigned number = 0; number < functions; ++number)
        machine.devices.push_back(MakeFunction(number, SlotsOf(functions)));
    std::vector<velktest::SmbiosBuilder::Slot> slots;
    for (unsigned slot = 1; slot <= SlotsOf(functions); ++slot)
        slots.push_back({.id = static_cast<std::uint16_t>(slot), .hotPlug = slot % 2 == 0});
    machine.smbios = velkhost::SmbiosFirmware{3, 0, velktest::TableOfSlots(slots)};
    return machine;
}

}  // namespace velkbench
