#pragma once

#include "common/handle.h"
#include "common/text.h"

namespace velktest {

/// The test program started once more, to run one (disabled) test alone in a second process. Killed at
/// destruction unless it has ended.
///
/// A child whose test passed says so with an exit code of its own: ending without a failure is not enough,
/// for so does a program that ran no test, or one that something ended in the middle of it.
class ChildProcess {
  public:
    explicit ChildProcess(const velk::CString& testName);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for its end; its exit code, with 0 for a test that ran and passed and kRanNoTest for any other
    /// child that ended without a failure.
    DWORD Wait();

    static constexpr DWORD kRanNoTest = 0xFFFF;

  private:
    velk::UniqueHandle process_;
};

/// The first argument of a child.
inline constexpr char kChildArgument[] = "--velk-child";
/// What a child exits with when its test ran and passed.
inline constexpr int kChildPassed = 99;

/// A named event that both processes open: manual reset, not set at first.
velk::UniqueHandle OpenSharedEvent(const wchar_t* name);

}  // namespace velktest
