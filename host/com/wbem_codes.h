#pragma once

#include "common/wbem_status.h"

namespace velkhost {

// The statuses of WMI that only its host answers, beside those of common/wbem_status.h.
inline constexpr HRESULT kWbemNotAvailable = static_cast<HRESULT>(WBEM_E_NOT_AVAILABLE);
inline constexpr HRESULT kWbemBufferTooSmall = static_cast<HRESULT>(WBEM_E_BUFFER_TOO_SMALL);
inline constexpr HRESULT kWbemInvalidNamespace = static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE);
inline constexpr HRESULT kWbemInvalidClass = static_cast<HRESULT>(WBEM_E_INVALID_CLASS);
inline constexpr HRESULT kWbemInvalidObject = static_cast<HRESULT>(WBEM_E_INVALID_OBJECT);
inline constexpr HRESULT kWbemInvalidOperation = static_cast<HRESULT>(WBEM_E_INVALID_OPERATION);
inline constexpr HRESULT kWbemInvalidQuery = static_cast<HRESULT>(WBEM_E_INVALID_QUERY);
inline constexpr HRESULT kWbemInvalidQueryType = static_cast<HRESULT>(WBEM_E_INVALID_QUERY_TYPE);
inline constexpr HRESULT kWbemProviderNotFound = static_cast<HRESULT>(WBEM_E_PROVIDER_NOT_FOUND);
inline constexpr HRESULT kWbemProviderLoadFailure = static_cast<HRESULT>(WBEM_E_PROVIDER_LOAD_FAILURE);
inline constexpr HRESULT kWbemProviderTimedOut = static_cast<HRESULT>(WBEM_E_PROVIDER_TIMED_OUT);
inline constexpr HRESULT kWbemCallCancelled = static_cast<HRESULT>(WBEM_E_CALL_CANCELLED);
inline constexpr HRESULT kWbemShuttingDown = static_cast<HRESULT>(WBEM_E_SHUTTING_DOWN);
inline constexpr HRESULT kWbemLocalCredentials = static_cast<HRESULT>(WBEM_E_LOCAL_CREDENTIALS);
inline constexpr HRESULT kWbemInitializationFailure = static_cast<HRESULT>(WBEM_E_INITIALIZATION_FAILURE);
inline constexpr HRESULT kWbemTransportFailure = static_cast<HRESULT>(WBEM_E_TRANSPORT_FAILURE);

/// A wait without end: WBEM_INFINITE as the LONG that the interfaces take.
inline constexpr LONG kWbemInfinite = static_cast<LONG>(WBEM_INFINITE);

}  // namespace velkhost
