#include "host/services/enumerator.h"

#include <utility>

#include "host/com/wbem_codes.h"

namespace velkhost {
namespace {

bool IsTimeout(LONG timeout) { return timeout >= 0 || timeout == kWbemInfinite; }

}  // namespace

Enumerator::Enumerator(std::shared_ptr<ResultStream> stream, bool forwardOnly, std::size_t position)
    : stream_(std::move(stream)), forwardOnly_(forwardOnly), position_(position) {}

HRESULT Enumerator::Reset() noexcept {
    if (forwardOnly_) return kWbemInvalidOperation;
    return GuardedCall([&] {
        const std::lock_guard lock(mutex_);
        position_ = 0;
        return velk::kWbemNoError;
    });
}

HRESULT Enumerator::Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned) noexcept {
    if (returned != nullptr) *returned = 0;
    if (returned == nullptr || objects == nullptr || count == 0 || !IsTimeout(timeout)) {
        return velk::kWbemInvalidParameter;
    }
    return GuardedCall([&] {
        std::vector<velk::ComPtr<IWbemClassObject>> batch;
        const HRESULT result = Advance(timeout, count, &batch);
        for (auto& object : batch) objects[(*returned)++] = object.Detach();
        return result;
    });
}

HRESULT Enumerator::NextAsync(ULONG count, IWbemObjectSink* sink) noexcept {
    if (sink == nullptr || count == 0) return velk::kWbemInvalidParameter;
    return GuardedCall([&] {
        std::vector<velk::ComPtr<IWbemClassObject>> batch;
        const HRESULT result = Advance(kWbemInfinite, count, &batch);
        if (!batch.empty()) {
            std::vector<IWbemClassObject*> plain;
            for (const auto& object : batch) plain.push_back(object.Get());
            sink->Indicate(static_cast<LONG>(plain.size()), plain.data());
        }
        sink->SetStatus(WBEM_STATUS_COMPLETE, result, nullptr, nullptr);
        return velk::kWbemNoError;
    });
}

HRESULT Enumerator::Clone(IEnumWbemClassObject** copy) noexcept {
    if (copy == nullptr) return velk::kWbemInvalidParameter;
    *copy = nullptr;
    if (forwardOnly_) return kWbemInvalidOperation;
    return GuardedCall([&] {
        const std::lock_guard lock(mutex_);
        *copy = MakeComObject<Enumerator>(stream_, false, position_).Detach();
        return velk::kWbemNoError;
    });
}

HRESULT Enumerator::Skip(LONG timeout, ULONG count) noexcept {
    if (!IsTimeout(timeout)) return velk::kWbemInvalidParameter;
    return GuardedCall([&] { return Advance(timeout, count, nullptr); });
}

HRESULT Enumerator::Advance(LONG timeout, ULONG count, std::vector<velk::ComPtr<IWbemClassObject>>* objects) {
    const std::lock_guard lock(mutex_);
    const Deadline deadline = DeadlineAfter(timeout);
    for (ULONG done = 0; done < count; ++done) {
        velk::ComPtr<IWbemClassObject> object;
        switch (stream_->Read(position_, deadline, forwardOnly_, object)) {
            case ResultStream::State::kTimedOut:
                return velk::kWbemTimedOut;
            case ResultStream::State::kEnd: {
                const HRESULT status = stream_->Status();
                return done == 0 && FAILED(status) ? status : velk::kWbemFalse;
            }
            case ResultStream::State::kObject:
                break;
        }
        if (objects != nullptr) objects->push_back(std::move(object));
        ++position_;
    }
    return velk::kWbemNoError;
}

}  // namespace velkhost
