#pragma once

#include <atomic>
#include <string>

#include "bench/floor.h"
#include "bench/platform_calls.h"
#include "common/com_ptr.h"
#include "common/handle.h"
#include "support/hosted/hosted_dll.h"
#include "support/registry_fixture.h"

namespace velkbench {

/// Counts what it is given, and keeps nothing.
class CountingSink final : public velktest::FakeUnknown<IWbemObjectSink, IID_IWbemObjectSink> {
  public:
    static velk::ComPtr<CountingSink> Make() { return velk::ComPtr(new CountingSink); }

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject**) override {
        instances_ += count;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG, HRESULT result, BSTR, IWbemClassObject*) override {
        status_ = result;
        isComplete_ = true;
        return S_OK;
    }

    void Begin() {
        instances_ = 0;
        isComplete_ = false;
    }
    /// Waits for the status, which may come from another thread. Throws std::runtime_error when it is a
    /// failure. How many instances came.
    long Finish() const;

  private:
    CountingSink() = default;

    std::atomic<long> instances_ = 0;
    std::atomic<HRESULT> status_ = S_OK;
    std::atomic<bool> isComplete_ = false;
};

/// The shipped DLL beside the host's WMI, which serves the classes of a machine.
class Rig {
  public:
    explicit Rig(const velkhost::Machine& machine);

    HMODULE Dll() const { return dll_.Get(); }
    const velktest::ProviderHost& Host() const { return host_; }
    /// Samples of the classes of objects that a provider is given.
    SampleObjects Objects() const;
    /// The class, whose instances a provider spawns.
    velk::ComPtr<IWbemClassObject> ClassObject(const std::wstring& name) const;

  private:
    velktest::RegistryFixture registry_;
    velktest::ProviderHost host_;
    velk::UniqueLibrary dll_;
    velk::ComPtr<IWbemLocator> locator_;
    velk::ComPtr<IWbemServices> services_;
    velk::ComPtr<IEnumWbemClassObject> results_;
    velk::ComPtr<IWbemClassObject> object_;
};

/// One enumeration by a provider; how many instances it gave.
long Enumerate(IWbemServices& provider, CountingSink& sink);

}  // namespace velkbench
