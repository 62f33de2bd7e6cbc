#include "host/path/path_state.h"

#include <algorithm>
#include <utility>

#include "host/com/wbem_codes.h"

namespace velkhost {

HRESULT CopyOut(std::wstring_view text, ULONG* length, LPWSTR buffer) noexcept {
    if (length == nullptr || (*length != 0 && buffer == nullptr)) return velk::kWbemInvalidParameter;
    const auto needed = static_cast<ULONG>(text.size() + 1);
    const ULONG available = std::exchange(*length, needed);
    if (buffer == nullptr) return S_OK;
    if (available < needed) return kWbemBufferTooSmall;
    *std::copy(text.begin(), text.end(), buffer) = L'\0';
    return S_OK;
}

}  // namespace velkhost
