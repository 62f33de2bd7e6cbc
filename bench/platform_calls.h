#pragma once

#include <vector>

#include "common/platform.h"
#include "host/import_redirect.h"

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

/// Puts functions behind a module's imports, for as long as what is returned lives.
std::vector<velkhost::ImportRedirect> Redirect(HMODULE module, const PlatformCalls& standIns);

/// Any objects of the classes that a provider is given by WMI; not owned. Their methods are redirected.
struct SampleObjects {
    IWbemClassObject* object;
    IEnumWbemClassObject* enumerator;
    IWbemServices* services;
    IWbemLocator* locator;
};

/// Where their methods stand in their interfaces' tables, behind QueryInterface, AddRef and Release.
enum MethodSlot : std::size_t {
    kLocatorConnectServer = 3,
    kServicesExecQuery = 20,
    kEnumeratorNext = 4,
    kObjectGet = 4,
    kObjectPut = 5,
    kObjectSpawnInstance = 15,
};

}  // namespace velkbench
