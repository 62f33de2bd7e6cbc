#include "host/services/provider_sink.h"

#include <new>
#include <utility>

#include "host/com/wbem_codes.h"

namespace velkhost {

ProviderSink::ProviderSink(std::wstring request, Receiver receiver, Reporter report)
    : request_(std::move(request)),
      report_(std::move(report)),
      completed_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      receiver_(std::move(receiver)) {
    if (!completed_) throw std::bad_alloc();
}

HRESULT ProviderSink::Indicate(LONG count, IWbemClassObject** objects) noexcept {
    return GuardedCall([&] {
        if (count < 0 || (count > 0 && objects == nullptr)) {
            Report(L"Indicate was called with invalid arguments");
            return velk::kWbemInvalidParameter;
        }
        const std::lock_guard lock(mutex_);
        if (status_) Report(L"Indicate was called after SetStatus");
        if (status_ || !receiver_) return kWbemCallCancelled;
        for (LONG i = 0; i < count; ++i) {
            if (objects[i] == nullptr) {
                Report(L"Indicate delivered a null object");
                return velk::kWbemInvalidParameter;
            }
            receiver_(objects[i]);
        }
        return velk::kWbemNoError;
    });
}

HRESULT ProviderSink::SetStatus(LONG flags, HRESULT result, BSTR, IWbemClassObject*) noexcept {
    if (flags == WBEM_STATUS_PROGRESS) return velk::kWbemNoError;
    return GuardedCall([&] {
        {
            const std::lock_guard lock(mutex_);
            if (flags != WBEM_STATUS_COMPLETE) {
                Report(L"SetStatus was called with unknown flags");
                return velk::kWbemInvalidParameter;
            }
            if (status_) {
                Report(L"SetStatus was called more than once");
                return velk::kWbemFailed;
            }
            status_ = result;
        }
        ::SetEvent(completed_.Get());
        return velk::kWbemNoError;
    });
}

HRESULT ProviderSink::Finish(HRESULT returned, LONG limit, HANDLE stop) {
    // Events, not std::stop_token: GCC 12's stop_callback can miss the wake-up of its own end where the
    // platform has no futex, and the request would wait for ever.
    const HANDLE either[] = {completed_.Get(), stop};
    DWORD ended = WAIT_OBJECT_0;
    if (SUCCEEDED(returned)) ended = ::WaitForMultipleObjects(2, either, FALSE, static_cast<DWORD>(limit));
    const std::lock_guard lock(mutex_);
    // The receiver's state belongs to the request that ends here; the provider may hold the sink for longer.
    receiver_ = nullptr;
    if (FAILED(returned)) return returned;
    if (status_) return *status_;
    if (ended == WAIT_OBJECT_0 + 1) return kWbemCallCancelled;
    Report(L"SetStatus was not called in time");
    return kWbemProviderTimedOut;
}

void ProviderSink::Report(const wchar_t* what) {
    if (report_) report_(request_ + L": " + what);
}

HRESULT ProviderInitSink::SetStatus(LONG status, LONG) noexcept {
    return GuardedCall([&] {
        {
            const std::lock_guard lock(mutex_);
            if (!status_) status_ = status;
        }
        reported_.notify_all();
        return velk::kWbemNoError;
    });
}

std::optional<LONG> ProviderInitSink::Wait(const Deadline& deadline) {
    std::unique_lock lock(mutex_);
    const auto isReported = [&] { return status_.has_value(); };
    if (deadline) {
        reported_.wait_until(lock, *deadline, isReported);
    } else {
        reported_.wait(lock, isReported);
    }
    return status_;
}

}  // namespace velkhost
