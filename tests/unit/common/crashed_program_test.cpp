// What whoever runs the tests is told of a test program that crashes.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
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

/// Deeper than any stack; each frame is touched. Small frames come to the last page at its top, where Wine
/// 10, too, has the room to ask the handler (see kOutOfStack).
std::size_t Descend(std::size_t frames) {
    volatile std::byte frame[16] = {};
    if (frames == 0) return 0;
    return Descend(frames - 1) + static_cast<std::size_t>(frame[frames % sizeof frame]);
}

TEST(CrashedProgram, DISABLED_RunsOutOfStackOnItsFirstThread) { Descend(SIZE_MAX); }

TEST(CrashedProgram, DISABLED_RunsOutOfStackOnAnotherThread) {
    std::thread([] { Descend(SIZE_MAX); }).join();
}

TEST(CrashedProgram, EndsAsOutOfStackWhicheverThreadItWas) {
    EXPECT_EQ(velktest::ChildProcess(L"CrashedProgram.DISABLED_RunsOutOfStackOnItsFirstThread").Wait(),
              velktest::kOutOfStack);
    EXPECT_EQ(velktest::ChildProcess(L"CrashedProgram.DISABLED_RunsOutOfStackOnAnotherThread").Wait(),
              velktest::kOutOfStack);
}

}  // namespace
