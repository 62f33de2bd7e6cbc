#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

namespace velkhost {

/// Threads of the multi-threaded apartment that run the requests which do not hold their caller up.
class Workers {
  public:
    using Task = std::function<void()>;

    ~Workers();

    /// Runs the task on a thread of its own; false after Stop, then it is not run.
    bool Start(Task task);
    /// Asks the running tasks to end, by the token, and waits until they have. Not to be called by one of
    /// them.
    void Stop();
    /// Where a task learns that it should end.
    std::stop_token StopToken() const { return stop_.get_token(); }

  private:
    struct Worker {
        std::shared_ptr<std::atomic<bool>> done;
        std::thread thread;
    };

    /// Joins the threads that are through. The lock is held.
    void Reap();

    std::mutex mutex_;
    std::stop_source stop_;
    std::list<Worker> workers_;
};

}  // namespace velkhost
