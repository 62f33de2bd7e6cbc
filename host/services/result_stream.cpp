#include "host/services/result_stream.h"

#include <utility>

#include "host/com/wbem_codes.h"

namespace velkhost {

Deadline DeadlineAfter(LONG milliseconds) {
    if (milliseconds == kWbemInfinite) return std::nullopt;
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

void ResultStream::Add(velk::ComPtr<IWbemClassObject> object) {
    {
        const std::lock_guard lock(mutex_);
        objects_.push_back(std::move(object));
    }
    changed_.notify_all();
}

void ResultStream::Finish(HRESULT status) {
    {
        const std::lock_guard lock(mutex_);
        if (!status_) status_ = status;
    }
    changed_.notify_all();
}

ResultStream::State ResultStream::Read(std::size_t index, const Deadline& deadline, bool take,
                                       velk::ComPtr<IWbemClassObject>& object) {
    std::unique_lock lock(mutex_);
    const auto decided = [&] { return index < objects_.size() || status_.has_value(); };
    if (!deadline) {
        changed_.wait(lock, decided);
    } else if (!changed_.wait_until(lock, *deadline, decided)) {
        return State::kTimedOut;
    }
    if (index >= objects_.size()) return State::kEnd;
    object = take ? std::move(objects_[index]) : objects_[index];
    return State::kObject;
}

HRESULT ResultStream::Status() const {
    const std::lock_guard lock(mutex_);
    return status_.value_or(S_OK);
}

}  // namespace velkhost
