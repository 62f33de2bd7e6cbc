#include "bench/platform_calls.h"

#include <utility>

namespace velkbench {
namespace {

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

std::vector<velkhost::ImportRedirect> Redirect(HMODULE module, const PlatformCalls& standIns) {
    const std::pair<const char*, void*> functions[] = {
        {"SetupDiGetClassDevsW", Address(standIns.getClassDevs)},
        {"SetupDiEnumDeviceInfo", Address(standIns.enumDevice)},
        {"SetupDiGetDeviceRegistryPropertyW", Address(standIns.readProperty)},
        {"SetupDiDestroyDeviceInfoList", Address(standIns.destroyDevices)},
        {"GetComputerNameExW", Address(standIns.computerName)},
        {"CreateFileW", Address(standIns.openFile)},
        {"CoCreateInstance", Address(standIns.createInstance)},
    };
    std::vector<velkhost::ImportRedirect> redirects;
    for (const auto& [function, standIn] : functions) redirects.emplace_back(module, function, standIn);
    return redirects;
}

}  // namespace velkbench
