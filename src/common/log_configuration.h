#pragma once

#include "common/platform.h"
#include "common/text.h"

namespace velk {

/// What the registry (HKEY_LOCAL_MACHINE "Software\Velkor\WBEM") says about a log.
struct LogConfiguration {
    CString folder;           ///< ends in a backslash, unless it is configured as an empty text
    LONG level = 3;           ///< normally 1 to 5, but any value that the registry holds
    LONG maxSize = 0x200000;  ///< bytes; normally 0x80000 to 0x2000000, but any value that the registry holds
};

/// Reads the configuration of the log `baseName`, as the module `moduleName` sees it; whatever is missing
/// keeps its default. ERROR_SUCCESS, or ERROR_INVALID_PARAMETER when a value is missing, has another type or
/// is outside its range. Throws std::bad_alloc.
DWORD ReadLogConfiguration(const CString& baseName, const CString& moduleName,
                           LogConfiguration& configuration);

/// The folder that is used when none is configured, or the configured one cannot be used.
CString DefaultLogFolder();

}  // namespace velk
