#include "support/crash.h"

#include <cstdio>

namespace velktest {

LONG WINAPI EndAsCrashed(EXCEPTION_POINTERS* crash) {
    std::fprintf(stderr, "The test program crashed: exception 0x%08lX at %p\n",
                 static_cast<unsigned long>(crash->ExceptionRecord->ExceptionCode),
                 crash->ExceptionRecord->ExceptionAddress);
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), kCrashed);
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace velktest
