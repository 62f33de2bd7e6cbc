#include "host/is_wine.h"

#include "common/platform.h"

namespace velkhost {

bool IsWine() {
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

}  // namespace velkhost
