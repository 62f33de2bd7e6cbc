#pragma once

#include <functional>
#include <vector>

#include "common/com_ptr.h"
#include "support/fake_wbem.h"

namespace velktest {

/// A client's sink that keeps everything it was given.
class RecordingSink final : public FakeUnknown<IWbemObjectSink, IID_IWbemObjectSink> {
  public:
    static velk::ComPtr<RecordingSink> Make() { return velk::ComPtr(new RecordingSink); }

    struct Status {
        LONG flags;
        HRESULT result;
        bool operator==(const Status&) const = default;
    };

    std::vector<std::vector<velk::ComPtr<IWbemClassObject>>> indications;  ///< the objects of each Indicate
    std::vector<Status> statuses;                                          ///< of each SetStatus
    bool plainStatuses = true;      ///< no SetStatus carried a text or an object
    HRESULT indicateStatus = S_OK;  ///< what Indicate answers
    std::function<void()> onIndicate;
    std::function<void()> onStatus;

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR text,
                                        IWbemClassObject* object) override;

  private:
    RecordingSink() = default;
};

/// WMI's sink for the outcome of Initialize.
class RecordingInitSink final : public FakeUnknown<IWbemProviderInitSink, IID_IWbemProviderInitSink> {
  public:
    static velk::ComPtr<RecordingInitSink> Make() { return velk::ComPtr(new RecordingInitSink); }

    std::vector<RecordingSink::Status> statuses;

    HRESULT STDMETHODCALLTYPE SetStatus(LONG status, LONG flags) override {
        statuses.push_back({flags, status});
        return S_OK;
    }

  private:
    RecordingInitSink() = default;
};

}  // namespace velktest
