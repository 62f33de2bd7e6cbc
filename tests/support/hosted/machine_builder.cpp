#include "support/hosted/machine_builder.h"

namespace velktest {

velkhost::PnpDevice MakeDevice(const MadeFunction& function) {
    velkhost::PnpDevice device;
    device.instanceId = function.hardwareId + L"\\0";
    device.SetText(SPDRP_DEVICEDESC, L"A device");
    device.SetTexts(SPDRP_HARDWAREID, {function.hardwareId, function.hardwareId + L"&second"});
    device.SetTexts(SPDRP_COMPATIBLEIDS, {function.classId});
    device.SetText(SPDRP_LOCATION_INFORMATION, function.location);
    if (function.slotNumber != 0) device.SetNumber(SPDRP_UI_NUMBER, function.slotNumber);
    return device;
}

velkhost::Machine MachineNamed(const std::wstring& fullName) {
    velkhost::Machine machine;
    machine.names.dnsFullyQualified = fullName;
    return machine;
}

}  // namespace velktest
