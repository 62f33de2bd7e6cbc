#pragma once

#include <vector>

#include "common/mutex.h"
#include "common/text.h"
#include "support/stand_ins.h"

namespace velktest {

/// Writes down which mutexes are taken and given back, in order, for as long as it lives. Known are those
/// that were named to it and those that are made meanwhile; all others are passed over. One at a time.
class LockRecorder {
  public:
    LockRecorder();
    ~LockRecorder();
    LockRecorder(const LockRecorder&) = delete;
    LockRecorder& operator=(const LockRecorder&) = delete;

    /// Makes a mutex known by a word for it.
    void Name(velk::CMutex& mutex, const velk::CString& name);

    /// "+name" for each mutex taken and "-name" for each given back. Mutexes that were made meanwhile go by
    /// the name of the kernel object, or "unnamed".
    std::vector<velk::CString> events;

  private:
    StandIn<decltype(&::CreateMutexW)> create_;
    StandIn<decltype(&::WaitForSingleObject)> wait_;
    StandIn<decltype(&::ReleaseMutex)> release_;
};

}  // namespace velktest
