#pragma once

#include <array>
#include <span>
#include <vector>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/text.h"

namespace velk {

/// The objects of a query's result, in order of delivery.
using WmiObjects = std::vector<ComPtr<IWbemClassObject>>;

/// Milliseconds that one call of IEnumWbemClassObject::Next may take.
inline constexpr LONG kDefaultQueryTimeout = 30000;

/// The classes of the health driver's data store, in upper case: a query in root\wmi that names one of them
/// is not run while the store is empty.
inline constexpr std::array<const wchar_t*, 12> kDataStoreClasses = {
    L"VKH_HEALTHLOG",      L"VKH_MEMORYBOARD",          L"VKH_MEMORYMODULE",      L"VKH_POWERMETER",
    L"VKH_POWERSUPPLY",    L"VKH_RESERVEDMEMORY",       L"VKH_TEMPERATURESENSOR", L"VKH_UIDLIGHT",
    L"VKH_SERVERRECOVERY", L"VKH_MANAGEMENTCONTROLLER", L"VKH_LANPARAMETERS",     L"VKH_FAN",
};

/// A registry value that counts the queries which the empty data store answered with nothing.
struct MissCounter {
    HKEY root;
    wchar_t keyPath[256];
    wchar_t valueName[256];
};

/// The module's table of miss counters, writable.
std::span<MissCounter> MissCounters() noexcept;

/// Runs a WQL query and collects its result. `query` is changed to upper case, and `out` emptied first. The
/// calling thread must have initialised COM; a connection is made for this call alone.
///
/// A failure to connect, to query or to enumerate is a success with an empty or partial result, so judge the
/// result by its count. The one other status is WBEM_S_TIMEDOUT, also a success. `reserved` is not read.
/// `services` (may be null) is used instead of a connection; `timeout` in milliseconds, 0 = without limit.
/// Throws std::bad_alloc.
HRESULT QueryWmi(const CString& ns, CString& query, WmiObjects& out, const void* reserved,
                 IWbemServices* services, LONG timeout);
/// With a connection of its own and kDefaultQueryTimeout.
HRESULT QueryWmi(const CString& ns, CString& query, WmiObjects& out, const void* reserved);
HRESULT QueryWmi(const wchar_t* ns, const wchar_t* query, WmiObjects& out, const void* reserved);
HRESULT QueryWmi(const wchar_t* ns, const wchar_t* query, WmiObjects& out, const void* reserved,
                 IWbemServices* services, LONG timeout);

/// Asks the health driver's data store whether it holds data; true also when it does not say. A "no" adds one
/// to every miss counter. `reserved` is not read. Throws std::bad_alloc.
bool CheckDataStoreAvailable(const void* reserved, LONG timeout = kDefaultQueryTimeout);

/// Connects and fetches one object; the status is that of the step that failed. Throws std::bad_alloc.
HRESULT GetWmiObject(const CString& ns, const CString& path, ComPtr<IWbemClassObject>& out);

}  // namespace velk
