#pragma once

#include "common/platform.h"

namespace velktest {

/// What a test program exits with that crashed, on whatever thread.
inline constexpr UINT kCrashed = 98;

/// The filter for exceptions that nobody handles: says what happened, and ends the process with kCrashed.
/// Without it Wine ended programs that had a page fault on a second thread with exit code 0, as if all were
/// well.
LONG WINAPI EndAsCrashed(EXCEPTION_POINTERS* crash);

/// What a test program exits with that came to the end of a stack. It says no more: there is no room. Where a
/// large frame leaves less than three or four kilobytes of the last page, Wine 10 does not ask either, but
/// ends the thread: the program's first one with exit code 1, another one without anybody being told.
inline constexpr UINT kOutOfStack = 97;

/// From here on a crash ends the process with one of these codes, never with a dialog that nobody sees.
void EndAtCrashes();

}  // namespace velktest
