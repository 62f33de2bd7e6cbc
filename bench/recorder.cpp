#include "bench/recorder.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace velkbench {
namespace {

/// What the stand-ins, which are plain functions, write to and call. Calls of one enumeration follow each
/// other, on whatever threads they are made.
struct State {
    PlatformCalls inner;
    Trace trace;
    std::vector<IWbemClassObject*> batch;  ///< of the last Next; not owned
    bool isInside = false;                 ///< of a recorded call: what it calls is its own affair
};
State* theState = nullptr;

void Note(Call call) {
    if (!theState->isInside) theState->trace.push_back(std::move(call));
}

/// For the length of a call that is passed on.
class Inside {
  public:
    Inside() : before_(std::exchange(theState->isInside, true)) {}
    ~Inside() { theState->isInside = before_; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

  private:
    bool before_;
};

using Kind = Call::Kind;

HDEVINFO WINAPI GetClassDevs(const GUID* setupClass, PCWSTR enumerator, HWND parent, DWORD flags) {
    Note({Kind::kGetClassDevs, flags});
    return theState->inner.getClassDevs(setupClass, enumerator, parent, flags);
}

BOOL WINAPI EnumDevice(HDEVINFO devices, DWORD index, PSP_DEVINFO_DATA device) {
    Note({Kind::kEnumDevice, index});
    return theState->inner.enumDevice(devices, index, device);
}

BOOL WINAPI ReadProperty(HDEVINFO devices, PSP_DEVINFO_DATA device, DWORD property, PDWORD type, PBYTE buffer,
                         DWORD size, PDWORD required) {
    Note({Kind::kReadProperty, property, size});
    return theState->inner.readProperty(devices, device, property, type, buffer, size, required);
}

BOOL WINAPI DestroyDevices(HDEVINFO devices) {
    Note({Kind::kDestroyDevices});
    return theState->inner.destroyDevices(devices);
}

BOOL WINAPI ComputerName(COMPUTER_NAME_FORMAT format, LPWSTR buffer, LPDWORD size) {
    Note({Kind::kComputerName, static_cast<DWORD>(format), *size});
    return theState->inner.computerName(format, buffer, size);
}

HANDLE WINAPI OpenFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                       DWORD creation, DWORD flags, HANDLE pattern) {
    // The health driver; the logs are the provider's own doing.
    if (std::wstring_view(name).starts_with(LR"(\\.\)")) Note({Kind::kOpenFile, 0, 0, name});
    return theState->inner.openFile(name, access, share, security, creation, flags, pattern);
}

HRESULT WINAPI CreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* object) {
    Note({Kind::kCreateLocator, context});
    const Inside inside;
    return theState->inner.createInstance(clsid, outer, context, iid, object);
}

template <class Method>
Method* original = nullptr;

using ConnectServer = HRESULT STDMETHODCALLTYPE(IWbemLocator*, const BSTR, const BSTR, const BSTR, const BSTR,
                                                LONG, const BSTR, IWbemContext*, IWbemServices**);
HRESULT STDMETHODCALLTYPE Connect(IWbemLocator* self, const BSTR nameSpace, const BSTR user,
                                  const BSTR password, const BSTR locale, LONG flags, const BSTR authority,
                                  IWbemContext* context, IWbemServices** services) {
    Note({Kind::kConnect, 0, 0, nameSpace});
    const Inside inside;
    return original<ConnectServer>(self, nameSpace, user, password, locale, flags, authority, context,
                                   services);
}

using ExecQuery = HRESULT STDMETHODCALLTYPE(IWbemServices*, const BSTR, const BSTR, LONG, IWbemContext*,
                                            IEnumWbemClassObject**);
HRESULT STDMETHODCALLTYPE Query(IWbemServices* self, const BSTR language, const BSTR text, LONG flags,
                                IWbemContext* context, IEnumWbemClassObject** results) {
    Note({Kind::kQuery, static_cast<DWORD>(flags), 0, text});
    const Inside inside;
    return original<ExecQuery>(self, language, text, flags, context, results);
}

using NextMethod = HRESULT STDMETHODCALLTYPE(IEnumWbemClassObject*, LONG, ULONG, IWbemClassObject**, ULONG*);
HRESULT STDMETHODCALLTYPE Next(IEnumWbemClassObject* self, LONG timeout, ULONG count,
                               IWbemClassObject** objects, ULONG* returned) {
    Note({Kind::kNext, static_cast<DWORD>(timeout), count});
    const Inside inside;
    const HRESULT status = original<NextMethod>(self, timeout, count, objects, returned);
    if (*returned != 0) theState->batch.assign(objects, objects + *returned);
    return status;
}

using GetMethod = HRESULT STDMETHODCALLTYPE(IWbemClassObject*, LPCWSTR, LONG, VARIANT*, CIMTYPE*, LONG*);
HRESULT STDMETHODCALLTYPE Get(IWbemClassObject* self, LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                              LONG* flavor) {
    const auto& batch = theState->batch;
    for (std::size_t place = 0; place < batch.size(); ++place) {
        if (batch[place] == self) Note({Kind::kGet, static_cast<DWORD>(place), 0, name});
    }
    const Inside inside;
    return original<GetMethod>(self, name, flags, value, type, flavor);
}

using PutMethod = HRESULT STDMETHODCALLTYPE(IWbemClassObject*, LPCWSTR, LONG, VARIANT*, CIMTYPE);
HRESULT STDMETHODCALLTYPE Put(IWbemClassObject* self, LPCWSTR name, LONG flags, VARIANT* value,
                              CIMTYPE type) {
    if (!theState->isInside) {
        velk::Variant copy;
        ::VariantCopy(copy.Put(), value);
        Note({Kind::kPut, 0, 0, name, std::move(copy)});
    }
    const Inside inside;
    return original<PutMethod>(self, name, flags, value, type);
}

using SpawnMethod = HRESULT STDMETHODCALLTYPE(IWbemClassObject*, LONG, IWbemClassObject**);
HRESULT STDMETHODCALLTYPE Spawn(IWbemClassObject* self, LONG flags, IWbemClassObject** instance) {
    Note({Kind::kSpawn});
    const Inside inside;
    return original<SpawnMethod>(self, flags, instance);
}

template <class Method>
velkhost::MethodRedirect Redirect(void* object, std::size_t slot, Method* standIn) {
    velkhost::MethodRedirect redirect(object, slot, reinterpret_cast<void*>(standIn));
    original<Method> = reinterpret_cast<Method*>(redirect.Original());
    return redirect;
}

}  // namespace

Recorder::Recorder(HMODULE module, const PlatformCalls& inner, const SampleObjects& objects) {
    if (theState != nullptr) throw std::logic_error("a recording is going on already");
    theState = new State{inner, {}, {}, false};
    imports_ = Redirect(module, {&GetClassDevs, &EnumDevice, &ReadProperty, &DestroyDevices, &ComputerName,
                                 &OpenFile, &CreateInstance});
    methods_.push_back(Redirect<ConnectServer>(objects.locator, kLocatorConnectServer, &Connect));
    methods_.push_back(Redirect<ExecQuery>(objects.services, kServicesExecQuery, &Query));
    methods_.push_back(Redirect<NextMethod>(objects.enumerator, kEnumeratorNext, &Next));
    methods_.push_back(Redirect<GetMethod>(objects.object, kObjectGet, &Get));
    methods_.push_back(Redirect<PutMethod>(objects.object, kObjectPut, &Put));
    methods_.push_back(Redirect<SpawnMethod>(objects.object, kObjectSpawnInstance, &Spawn));
}

Recorder::~Recorder() {
    // The stand-ins go before what they write to.
    methods_.clear();
    imports_.clear();
    delete std::exchange(theState, nullptr);
}

Trace Recorder::Take() { return std::move(theState->trace); }

}  // namespace velkbench
