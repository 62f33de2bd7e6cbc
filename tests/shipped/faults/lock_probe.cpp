#include "lock_probe.h"

namespace velktest {

LockProbe::LockProbe() : thread_([this] { Run(); }) {}

LockProbe::~LockProbe() {
    mutexes_ = nullptr;
    ::SetEvent(asked_.Get());
    thread_.join();
}

int LockProbe::CountHeld(const std::vector<HANDLE>& mutexes, const std::vector<HANDLE>& semaphores) {
    mutexes_ = &mutexes;
    semaphores_ = &semaphores;
    ::SetEvent(asked_.Get());
    ::WaitForSingleObject(answered_.Get(), INFINITE);
    return held_;
}

void LockProbe::Run() {
    for (;;) {
        ::WaitForSingleObject(asked_.Get(), INFINITE);
        if (mutexes_ == nullptr) return;
        held_ = 0;
        for (const HANDLE mutex : *mutexes_) {
            if (::WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0) {
                ::ReleaseMutex(mutex);
            } else {
                ++held_;
            }
        }
        for (const HANDLE semaphore : *semaphores_) {
            if (::WaitForSingleObject(semaphore, 0) == WAIT_OBJECT_0) {
                ::ReleaseSemaphore(semaphore, 1, nullptr);
            } else {
                ++held_;
            }
        }
        ::SetEvent(answered_.Get());
    }
}

}  // namespace velktest
