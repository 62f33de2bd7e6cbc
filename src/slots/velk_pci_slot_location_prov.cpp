#include "slots/velk_pci_slot_location_prov.h"

#include <memory>

#include "common/handle.h"
#include "common/memory_reserve.h"
#include "framework/module_lock.h"

namespace velk {

namespace {

constexpr const wchar_t* kKeys[] = {L"Name", L"PhysicalPosition"};
constexpr std::size_t kNameKey = 0;
constexpr std::size_t kPositionKey = 1;

constexpr ProviderClass kProviderClass = {L"CVelkPCISlotLocationProv", CVelkPCISlotLocationList::kWmiClass,
                                          L"VelkPCISlotLocationProv", kKeys, false};

using Record = CVelkPCISlotLocation;
constexpr PropertyRow<Record> kProperties[] = {
    {L"ElementName", &Record::elementName},
    {L"Name", &Record::name},
    {L"Caption", &Record::caption},
    {L"Description", &Record::description},
    {L"ElementLocationTag", &Record::elementLocationTag},
    {L"ElementLocationTagDesc", &Record::elementLocationTagDesc},
    {L"PhysicalPosition", &Record::physicalPosition},
};

/// A reference on the module that contains this code, as a load of it would make; empty on failure.
UniqueLibrary ReferThisModule() noexcept {
    UniqueLibrary module;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<const wchar_t*>(&kProviderClass), module.Put());
    return module;
}

/// COM on the calling thread, as far as it can be had: without it the table may still come from the driver.
class ComApartment {
  public:
    ComApartment() noexcept : initialized_(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    ~ComApartment() {
        if (initialized_) ::CoUninitialize();
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

  private:
    bool initialized_;
};

}  // namespace

/// What the worker keeps alive while it runs. The caller may release the provider and unload the module as
/// soon as the request returns.
struct CVelkPCISlotLocationProv::EnumRequest {
    UniqueLibrary module;        ///< the code that the thread runs
    ModuleLockCount moduleLock;  ///< lets DllCanUnloadNow say no
    ComPtr<IWbemObjectSink> sink;
    ComPtr<CVelkPCISlotLocationProv> provider;
};

CVelkPCISlotLocationProv::CVelkPCISlotLocationProv()
    : CInstanceProvider(kProviderClass, ownList_, kProperties) {}

bool CVelkPCISlotLocationProv::KeysMatch(const RequestedKeys& keys,
                                         const CVelkPCISlotLocation& record) const {
    return keys.values[kNameKey] == record.name && keys.values[kPositionKey] == record.physicalPosition;
}

STDMETHODIMP CVelkPCISlotLocationProv::CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*,
                                                               IWbemObjectSink* sink) {
    LogOf(L"CreateInstanceEnumAsync").Verbose(L"Entering");
    if (sink == nullptr) return kWbemInvalidParameter;
    return GuardEntryPoint([&] { return StartEnumeration(sink); });
}

HRESULT CVelkPCISlotLocationProv::StartEnumeration(IWbemObjectSink* sink) {
    auto request = std::make_unique<EnumRequest>();
    request->module = ReferThisModule();
    if (!request->module) return kWbemFailed;
    request->sink = ComPtr(sink);
    request->provider = ComPtr(this);

    const UniqueHandle thread(::CreateThread(nullptr, 0, EnumWorkerProc, request.get(), 0, nullptr));
    if (!thread) return kWbemFailed;
    // The thread owns it, and may have deleted it already.
    static_cast<void>(request.release());
    return kWbemNoError;
}

DWORD WINAPI CVelkPCISlotLocationProv::EnumWorkerProc(void* parameter) noexcept {
    UniqueLibrary module;
    {
        const std::unique_ptr<EnumRequest> request(static_cast<EnumRequest*>(parameter));
        module = std::move(request->module);
        Answer(*request);
    }
    // The last reference on the module may be this one: returning would be to code that is gone.
    ::FreeLibraryAndExitThread(module.Detach(), 0);
}

void CVelkPCISlotLocationProv::Answer(EnumRequest& request) noexcept {
    RefillMemoryReserve();
    const ComApartment apartment;
    const HRESULT result = request.provider->EnumerateTo(request.sink.Get());
    // After the provider's lock is released: the status may make the client ask again at once.
    request.sink->SetStatus(WBEM_STATUS_COMPLETE, result, nullptr, nullptr);
    // Perhaps its last reference, and with it those on WMI's objects: not without COM.
    request.provider.Reset();
}

HRESULT CVelkPCISlotLocationProv::EnumerateTo(IWbemObjectSink* sink) noexcept {
    // The list's own lock is not needed: nobody reaches this list but through the provider's lock.
    const CMutexLock lock(Mutex());
    Instances instances;
    const HRESULT result = RefreshCache(instances);
    return FAILED(result) ? result : Deliver(sink, instances);
}

}  // namespace velk
