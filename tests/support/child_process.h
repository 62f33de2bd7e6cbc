#pragma once

#include "common/handle.h"
#include "common/text.h"

namespace velktest {

/// The test program started once more, to run one (disabled) test alone in a second process. Killed at
/// destruction unless it has ended.
class ChildProcess {
  public:
    explicit ChildProcess(const velk::CString& testName);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for its end; its exit code (0 when its test passed).
    DWORD Wait();

  private:
    velk::UniqueHandle process_;
};

/// A named event that both processes open: manual reset, not set at first.
velk::UniqueHandle OpenSharedEvent(const wchar_t* name);
/// Whether the object became signalled within the time that a loaded machine may need.
bool BecomesSignalled(HANDLE object);

}  // namespace velktest
