#pragma once

#include "common/platform.h"

namespace velk {

// WMI's statuses as HRESULTs. The platform's WBEM_E_* names are enumerators, unsigned with some compilers,
// and would need a cast at each use.
inline constexpr HRESULT kWbemNoError = WBEM_S_NO_ERROR;
inline constexpr HRESULT kWbemFalse = WBEM_S_FALSE;
inline constexpr HRESULT kWbemTimedOut = WBEM_S_TIMEDOUT;
inline constexpr HRESULT kWbemFailed = static_cast<HRESULT>(WBEM_E_FAILED);
inline constexpr HRESULT kWbemNotFound = static_cast<HRESULT>(WBEM_E_NOT_FOUND);
inline constexpr HRESULT kWbemOutOfMemory = static_cast<HRESULT>(WBEM_E_OUT_OF_MEMORY);
inline constexpr HRESULT kWbemInvalidParameter = static_cast<HRESULT>(WBEM_E_INVALID_PARAMETER);
inline constexpr HRESULT kWbemNotSupported = static_cast<HRESULT>(WBEM_E_NOT_SUPPORTED);
inline constexpr HRESULT kWbemProviderNotCapable = static_cast<HRESULT>(WBEM_E_PROVIDER_NOT_CAPABLE);
inline constexpr HRESULT kWbemInvalidObjectPath = static_cast<HRESULT>(WBEM_E_INVALID_OBJECT_PATH);

}  // namespace velk
