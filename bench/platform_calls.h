#pragma once

#include "common/platform.h"

namespace velkbench {

/// What an enumeration calls of the platform, besides COM.
struct PlatformCalls {
    decltype(&::SetupDiGetClassDevsW) getClassDevs = &::SetupDiGetClassDevsW;
    decltype(&::SetupDiEnumDeviceInfo) enumDevice = &::SetupDiEnumDeviceInfo;
    decltype(&::SetupDiGetDeviceRegistryPropertyW) readProperty = &::SetupDiGetDeviceRegistryPropertyW;
    decltype(&::SetupDiDestroyDeviceInfoList) destroyDevices = &::SetupDiDestroyDeviceInfoList;
    decltype(&::GetComputerNameExW) computerName = &::GetComputerNameExW;
    decltype(&::CreateFileW) openFile = &::CreateFileW;
    decltype(&::CoCreateInstance) createInstance = &::CoCreateInstance;
};

}  // namespace velkbench
