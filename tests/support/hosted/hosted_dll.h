#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/com_ptr.h"
#include "common/handle.h"
#include "host/machine/machine_replay.h"
#include "host/wmi_host.h"
#include "support/fake_wbem.h"
#include "support/page_heap.h"

namespace velktest {

/// A class that the DLL serves, as the class definitions register it.
struct ServedClass {
    std::wstring name;
    CLSID clsid;
};

/// What one request of a provider came to.
struct Answer {
    HRESULT returned = S_OK;          ///< by the provider's method
    std::vector<HRESULT> statuses;    ///< of each SetStatus
    int indications = 0;              ///< calls of Indicate
    std::vector<std::wstring> paths;  ///< relative paths of the instances
    std::vector<std::wstring> texts;  ///< the instances with all their properties

    bool operator==(const Answer&) const = default;
};

/// Keeps what it is given as text, so that no object of the DLL's making outlives the request.
class AnswerSink final : public FakeUnknown<IWbemObjectSink, IID_IWbemObjectSink> {
  public:
    static velk::ComPtr<AnswerSink> Make() { return velk::ComPtr(new AnswerSink); }

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR text,
                                        IWbemClassObject* object) override;

    /// What a request came to whose method returned `returned`; after a success its status is waited for,
    /// which may come from another thread.
    const Answer& Finish(HRESULT returned);

  private:
    AnswerSink() = default;

    Answer answer_;
    velk::UniqueHandle completed_{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

/// Makes a request and waits for its status.
Answer Enumerate(IWbemServices& provider);
Answer Get(IWbemServices& provider, const std::wstring& path);

/// The development host in WMI's place, for providers that come straight from the class factories of a loaded
/// DLL: nothing is registered. One at a time; safe to use from many threads.
class ProviderHost {
  public:
    explicit ProviderHost(const velkhost::Machine& machine);

    /// The ten classes, in alphabetical order.
    const std::vector<ServedClass>& Classes() const { return classes_; }
    /// One of them. Throws std::out_of_range.
    const ServedClass& Class(const std::wstring& name) const;
    /// A new provider, initialised. Throws std::runtime_error.
    velk::ComPtr<IWbemServices> MakeProvider(HMODULE dll, const ServedClass& served) const;

  private:
    std::vector<ServedClass> classes_;
    std::optional<velkhost::WmiHost> host_;
    velk::ComPtr<IWbemServices> services_;
};

/// Where the DLL's memory comes from.
enum class DllMemory {
    kPlain,
    kGuarded,  ///< a PageHeap
};

/// The shipped DLL in this process on a replayed machine. One at a time.
class HostedDll {
  public:
    /// Throws std::runtime_error when the DLL cannot be loaded.
    explicit HostedDll(const velkhost::Machine& machine, DllMemory memory = DllMemory::kPlain)
        : HostedDll(std::make_shared<const ProviderHost>(machine), machine, memory) {}
    /// With a host that is there already, of the same machine.
    HostedDll(std::shared_ptr<const ProviderHost> host, velkhost::Machine machine,
              DllMemory memory = DllMemory::kPlain);
    /// Waits for the DLL's threads.
    ~HostedDll();
    HostedDll(const HostedDll&) = delete;
    HostedDll& operator=(const HostedDll&) = delete;

    HMODULE Module() const { return dll_.Get(); }
    const ProviderHost& Host() const { return *host_; }
    /// May be changed between requests; what WMI knows of it stays.
    velkhost::Machine& CurrentMachine() { return replay_->Current(); }
    velk::ComPtr<IWbemServices> MakeProvider(const ServedClass& served) const {
        return host_->MakeProvider(Module(), served);
    }
    velk::ComPtr<IWbemServices> MakeProvider(const wchar_t* className) const {
        return MakeProvider(host_->Class(className));
    }

  private:
    /// The module's own load or unload code.
    void CallDllMain(DWORD reason) const;

    std::shared_ptr<const ProviderHost> host_;
    velk::UniqueLibrary dll_;
    std::optional<PageHeap> pageHeap_;
    std::optional<velkhost::MachineReplay> replay_;
};

/// Waits until a library has left the process.
bool IsUnloaded(const wchar_t* library);

}  // namespace velktest
