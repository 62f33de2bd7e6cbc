#include "host/services/workers.h"

#include <new>
#include <utility>

#include "host/services/apartment.h"

namespace velkhost {
namespace {

bool IsInMultiThreadedApartment() {
    APTTYPE type = APTTYPE_STA;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    return SUCCEEDED(::CoGetApartmentType(&type, &qualifier)) && type == APTTYPE_MTA;
}

}  // namespace

Workers::Workers() : stop_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    if (!stop_) throw std::bad_alloc();
}

Workers::~Workers() { Stop(); }

bool Workers::Start(Task task) {
    const std::lock_guard lock(mutex_);
    if (stopped_) return false;
    Reap();
    const auto done = std::make_shared<std::atomic<bool>>(false);
    workers_.push_back({done, {}});
    try {
        workers_.back().thread = std::thread([done, run = std::move(task)]() mutable {
            {
                const ComApartment apartment;
                run();
                run = nullptr;  // what the task holds is released inside the apartment
            }
            done->store(true);
        });
    } catch (...) {
        workers_.pop_back();
        throw;
    }
    return true;
}

bool Workers::Run(const Task& task) {
    if (IsInMultiThreadedApartment()) {
        task();
        return true;
    }
    const velk::UniqueHandle done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!done) throw std::bad_alloc();
    const bool started = Start([&task, &done] {
        task();
        ::SetEvent(done.Get());
    });
    if (started) ::WaitForSingleObject(done.Get(), INFINITE);
    return started;
}

void Workers::Stop() {
    std::list<Worker> leftover;
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        ::SetEvent(stop_.Get());
        leftover.swap(workers_);
    }
    for (Worker& worker : leftover) worker.thread.join();
}

void Workers::Reap() {
    workers_.remove_if([](Worker& worker) {
        if (!worker.done->load()) return false;
        worker.thread.join();
        return true;
    });
}

}  // namespace velkhost
