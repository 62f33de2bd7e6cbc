#pragma once

#include "common/platform.h"
#include "common/text.h"

namespace velk {

// Who the computer is that the published objects sit in. Nothing is cached: names and paths may change
// between two enumerations. All of these throw std::bad_alloc, and those that ask WMI need COM on the calling
// thread.

/// The fully qualified DNS name, else the DNS host name, else the NetBIOS name, exactly as the system gives
/// it. ERROR_SUCCESS, or the Win32 error code of the last attempt with an empty name.
DWORD GetLocalComputerName(CString& name);

/// The name in one format. ERROR_SUCCESS or a Win32 error code: ERROR_NOT_ENOUGH_MEMORY when its buffer
/// cannot be had, else what the system reports.
DWORD GetComputerNameByFormat(CString& name, COMPUTER_NAME_FORMAT format);

/// The name of the suite's computer-system class.
const wchar_t* GetComputerSystemClassName() noexcept;

/// Full path of the suite's computer-system instance, with key values as this module computes them; the
/// instance itself is not fetched. WBEM_E_FAILED when the class is not there or the computer has no name. A
/// class object without a path is a success with an empty path.
HRESULT GetComputerSystemPath(CString& path);

/// Full path of the suite's chassis instance; WBEM_E_FAILED unless there is exactly one.
HRESULT GetChassisPath(CString& path);

/// Makes "\\server\namespace:relative" and returns `path`. The server is the one that WMI names for the
/// suite's computer-system class; without that class it stays empty, and the path begins with three
/// backslashes.
CString& MakeFullObjectPath(CString& path, const CString& ns, const CString& relative);

}  // namespace velk
