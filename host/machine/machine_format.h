#pragma once

#include "common/platform.h"

namespace velkhost {

// Names that machine files have for numbers, for their reader and their writer. docs/machine-format.md
// describes the files.

enum class PropertyForm { kText, kTexts, kNumber };

/// A property of a device, under the name that the registry's Enum keys give it.
struct DevicePropertyName {
    const char* name;
    DWORD code;  ///< SPDRP_
    PropertyForm form;
};
/// All properties that a machine file can hold.
inline constexpr DevicePropertyName kDeviceProperties[] = {
    {"DeviceDesc", SPDRP_DEVICEDESC, PropertyForm::kText},
    {"HardwareID", SPDRP_HARDWAREID, PropertyForm::kTexts},
    {"CompatibleIDs", SPDRP_COMPATIBLEIDS, PropertyForm::kTexts},
    {"LocationInformation", SPDRP_LOCATION_INFORMATION, PropertyForm::kText},
    {"LocationPaths", SPDRP_LOCATION_PATHS, PropertyForm::kTexts},
    {"BusNumber", SPDRP_BUSNUMBER, PropertyForm::kNumber},
    {"Address", SPDRP_ADDRESS, PropertyForm::kNumber},
    {"UINumber", SPDRP_UI_NUMBER, PropertyForm::kNumber},
};

struct RegistryTypeName {
    const char* name;
    DWORD type;
};
/// A type that is not among them stands in the file as its number.
inline constexpr RegistryTypeName kRegistryTypes[] = {
    {"REG_NONE", REG_NONE},     {"REG_SZ", REG_SZ},       {"REG_EXPAND_SZ", REG_EXPAND_SZ},
    {"REG_BINARY", REG_BINARY}, {"REG_DWORD", REG_DWORD}, {"REG_MULTI_SZ", REG_MULTI_SZ},
    {"REG_QWORD", REG_QWORD},
};

}  // namespace velkhost
