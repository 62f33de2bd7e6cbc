#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include "common/handle.h"

namespace velkhost {

/// Threads of the multi-threaded apartment that run the requests which do not hold their caller up.
class Workers {
  public:
    using Task = std::function<void()>;

    /// Throws std::bad_alloc.
    Workers();
    ~Workers();

    /// Runs the task on a thread of its own; false after Stop, then it is not run.
    bool Start(Task task);
    /// Runs the task before it returns: on the caller's thread where that belongs to the multi-threaded
    /// apartment, for which providers are made, else on a thread of its own. False after Stop, when it would
    /// take such a thread. The task must not throw.
    bool Run(const Task& task);
    /// Asks the running tasks to end, by the event, and waits until they have. Not to be called by one of
    /// them.
    void Stop();
    /// The event that tells a task that it should end.
    HANDLE StopEvent() const { return stop_.Get(); }

  private:
    struct Worker {
        std::shared_ptr<std::atomic<bool>> done;
        std::thread thread;
    };

    /// Joins the threads that are through. The lock is held.
    void Reap();

    const velk::UniqueHandle stop_;  ///< an event, set by Stop
    std::mutex mutex_;               ///< of what follows
    bool stopped_ = false;
    std::list<Worker> workers_;
};

}  // namespace velkhost
