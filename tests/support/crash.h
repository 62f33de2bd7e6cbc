#pragma once

#include "common/platform.h"

namespace velktest {

/// What a test program exits with that crashed, on whatever thread.
inline constexpr UINT kCrashed = 98;

/// The filter for exceptions that nobody handles: says what happened, and ends the process with kCrashed.
/// Without it Wine ended programs that had a page fault on a second thread with exit code 0, as if all were
/// well.
LONG WINAPI EndAsCrashed(EXCEPTION_POINTERS* crash);

}  // namespace velktest
