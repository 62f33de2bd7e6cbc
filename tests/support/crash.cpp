#include "support/crash.h"

#include <cstdio>

namespace velktest {

namespace {

/// Asked before all others, and in one small frame: at the end of a stack the filter finds no room, and Wine
/// then ended programs with exit code 0.
LONG CALLBACK EndAtTheStacksEnd(EXCEPTION_POINTERS* exception) {
    if (exception->ExceptionRecord->ExceptionCode == EXCEPTION_STACK_OVERFLOW)
        ::TerminateProcess(::GetCurrentProcess(), kOutOfStack);
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

LONG WINAPI EndAsCrashed(EXCEPTION_POINTERS* crash) {
    std::fprintf(stderr, "The test program crashed: exception 0x%08lX at %p\n",
                 static_cast<unsigned long>(crash->ExceptionRecord->ExceptionCode),
                 crash->ExceptionRecord->ExceptionAddress);
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), kCrashed);
    return EXCEPTION_CONTINUE_SEARCH;
}

void EndAtCrashes() {
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    ::SetUnhandledExceptionFilter(&EndAsCrashed);
    ::AddVectoredExceptionHandler(1, &EndAtTheStacksEnd);
}

}  // namespace velktest
