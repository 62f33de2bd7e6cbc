#pragma once

#include <thread>
#include <vector>

#include "common/handle.h"

namespace velktest {

/// A second thread that tries locks: what it can take at once, nobody else holds.
class LockProbe {
  public:
    LockProbe();
    ~LockProbe();
    LockProbe(const LockProbe&) = delete;
    LockProbe& operator=(const LockProbe&) = delete;

    /// Takes and gives back each of them. How many could not be taken at once.
    int CountHeld(const std::vector<HANDLE>& mutexes, const std::vector<HANDLE>& semaphores);

  private:
    void Run();

    velk::UniqueHandle asked_{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    velk::UniqueHandle answered_{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    const std::vector<HANDLE>* mutexes_ = nullptr;  ///< null asks the thread to end
    const std::vector<HANDLE>* semaphores_ = nullptr;
    int held_ = 0;
    std::thread thread_;
};

}  // namespace velktest
