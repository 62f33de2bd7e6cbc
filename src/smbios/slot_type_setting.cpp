#include "smbios/slot_type_setting.h"

#include "common/handle.h"
#include "common/registry.h"
#include "common/suite_names.h"

namespace velk {

ExpressTypes ReadExpressTypes() noexcept {
    UniqueRegistryKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSettingsKey, 0, KEY_QUERY_VALUE, key.Put()) != ERROR_SUCCESS) {
        return ExpressTypes::kToGeneration2;
    }
    DWORD modern = 0;
    ReadRegistryDword(key.Get(), kModernSlotTypes, modern);
    return modern != 0 ? ExpressTypes::kModern : ExpressTypes::kToGeneration2;
}

}  // namespace velk
