#pragma once

#include "common/platform.h"
#include "common/text.h"

namespace velk {

/// The folder that WMI's logs live in, with a backslash at its end. The Windows directory is asked for with a
/// buffer of the given length in characters; one that does not fit is left out.
CString WbemLogFolder(UINT bufferLength);

/// What names the kernel object that guards a log file: its path in upper case without backslashes, which
/// mean namespaces in object names.
CString PathAsObjectName(const CString& path);

}  // namespace velk
