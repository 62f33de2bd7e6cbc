#pragma once

#include "common/handle.h"
#include "common/text.h"

namespace velk {

/// Opens `pathBase` + ".log" for reading and writing, shared, made when it is not there. Empty, with
/// GetLastError() set, on failure. Throws std::bad_alloc.
UniqueFile OpenLogFile(const CString& pathBase, DWORD flags = 0);

/// Moves a log file of at least `maxSize` bytes out of the way, to `pathBase` + ".lo_" (one old generation is
/// kept), and opens a fresh one in its place. The log's machine-wide mutex is held by the caller.
/// ERROR_SUCCESS with `file` open; or, with `file` closed, a Win32 error code when the fresh file cannot be
/// opened and 3 when the old one cannot be moved. Throws std::bad_alloc.
DWORD RotateLogFile(const CString& pathBase, LONG maxSize, UniqueFile& file);

/// Appends the characters as they are, two bytes each. Returns a Win32 error code.
DWORD AppendToLogFile(const UniqueFile& file, const CString& text) noexcept;

}  // namespace velk
