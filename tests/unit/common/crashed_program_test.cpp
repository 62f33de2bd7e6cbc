// What whoever runs the tests is told of a test program that crashes.

#include <gtest/gtest.h>

#include <thread>

#include "support/child_process.h"
#include "support/crash.h"

namespace {

void Crash() {
    ::RaiseException(static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION), EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

TEST(CrashedProgram, DISABLED_CrashesOnItsFirstThread) { Crash(); }

TEST(CrashedProgram, DISABLED_CrashesOnAnotherThread) { std::thread(&Crash).join(); }

TEST(CrashedProgram, EndsAsCrashedWhicheverThreadItWas) {
    EXPECT_EQ(velktest::ChildProcess(L"CrashedProgram.DISABLED_CrashesOnItsFirstThread").Wait(),
              velktest::kCrashed);
    EXPECT_EQ(velktest::ChildProcess(L"CrashedProgram.DISABLED_CrashesOnAnotherThread").Wait(),
              velktest::kCrashed);
}

}  // namespace
