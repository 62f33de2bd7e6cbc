#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <vector>

#include "common/com_ptr.h"
#include "common/platform.h"

namespace velkhost {

/// When a wait gives up; nothing means never.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;

/// The deadline of a wait of that many milliseconds from now; WBEM_INFINITE never ends.
Deadline DeadlineAfter(LONG milliseconds);

/// The result of a request on its way from whoever makes the objects to the enumerators that read them, in
/// order of delivery. One side adds and finishes, any number of threads wait and read.
class ResultStream {
  public:
    enum class State { kObject, kEnd, kTimedOut };

    void Add(velk::ComPtr<IWbemClassObject> object);
    /// No object follows. The first status given stays.
    void Finish(HRESULT status);

    /// Waits until the object of that index is there, the stream has ended before it, or time is up. An
    /// object that is there is handed out; with `take` the stream gives its own reference up.
    State Read(std::size_t index, const Deadline& deadline, bool take,
               velk::ComPtr<IWbemClassObject>& object);
    /// The status that the stream ended with; S_OK while it has not.
    HRESULT Status() const;

  private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<velk::ComPtr<IWbemClassObject>> objects_;
    std::optional<HRESULT> status_;
};

}  // namespace velkhost
