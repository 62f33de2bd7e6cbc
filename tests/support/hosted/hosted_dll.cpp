#include "support/hosted/hosted_dll.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "common/bstr.h"
#include "common/variant.h"
#include "host/machine/machine_repository.h"
#include "support/child_process.h"
#include "support/hosted/project_folder.h"
#include "support/recording_sink.h"
#include "support/waiting.h"

namespace velktest {

namespace {

constexpr wchar_t kNamespace[] = L"root\\VKQ";

template <class Function>
Function Export(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

}  // namespace

HRESULT AnswerSink::Indicate(LONG count, IWbemClassObject** objects) {
    ++answer_.indications;
    for (LONG index = 0; index < count; ++index) {
        velk::Variant path;
        if (SUCCEEDED(objects[index]->Get(L"__RELPATH", 0, path.Put(), nullptr, nullptr)))
            answer_.paths.emplace_back(path.Text());
        velk::Bstr text;
        if (SUCCEEDED(objects[index]->GetObjectText(0, text.Put()))) answer_.texts.emplace_back(text.View());
    }
    return S_OK;
}

HRESULT AnswerSink::SetStatus(LONG, HRESULT result, BSTR, IWbemClassObject*) {
    answer_.statuses.push_back(result);
    ::SetEvent(completed_.Get());
    return S_OK;
}

const Answer& AnswerSink::Finish(HRESULT returned) {
    answer_.returned = returned;
    // A method that failed has reported all it will.
    if (SUCCEEDED(returned)) BecomesSignalled(completed_.Get());
    return answer_;
}

Answer Enumerate(IWbemServices& provider) {
    const auto sink = AnswerSink::Make();
    return sink->Finish(provider.CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()));
}

Answer Get(IWbemServices& provider, const std::wstring& path) {
    const auto sink = AnswerSink::Make();
    const velk::Bstr text(path);
    return sink->Finish(provider.GetObjectAsync(text.Get(), 0, nullptr, sink.Get()));
}

ProviderHost::ProviderHost(const velkhost::Machine& machine) {
    const std::filesystem::path mof = ProjectFolder() / "mof";
    velkhost::Repository repository =
        velkhost::BuildRepository({mof / "VelkWmiPci.mof", mof / "standalone.mof"}, &machine);
    for (const std::wstring& name : repository.ClassNames(kNamespace)) {
        if (const auto clsid = repository.ProviderClsid(kNamespace, name)) classes_.push_back({name, *clsid});
    }
    host_.emplace(std::move(repository));
    services_ = host_->Connect(kNamespace);
}

const ServedClass& ProviderHost::Class(const std::wstring& name) const {
    const auto found = std::ranges::find(classes_, name, &ServedClass::name);
    if (found == classes_.end()) throw std::out_of_range("no such class");
    return *found;
}

velk::ComPtr<IWbemServices> ProviderHost::MakeProvider(HMODULE dll, const ServedClass& served) const {
    velk::ComPtr<IClassFactory> factory;
    velk::ComPtr<IWbemProviderInit> init;
    velk::ComPtr<IWbemServices> provider;
    const auto getClassObject = Export<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>(dll, "DllGetClassObject");
    HRESULT result = getClassObject(served.clsid, IID_IClassFactory, factory.PutVoid());
    if (SUCCEEDED(result)) result = factory->CreateInstance(nullptr, IID_IWbemProviderInit, init.PutVoid());
    if (SUCCEEDED(result)) {
        result = init->Initialize(nullptr, 0, nullptr, nullptr, services_.Get(), nullptr,
                                  RecordingInitSink::Make().Get());
    }
    if (SUCCEEDED(result)) result = init->QueryInterface(IID_IWbemServices, provider.PutVoid());
    if (FAILED(result)) throw std::runtime_error("no provider: " + std::to_string(result));
    return provider;
}

HostedDll::HostedDll(std::shared_ptr<const ProviderHost> host, velkhost::Machine machine, DllMemory memory)
    : host_(std::move(host)), dll_(::LoadLibraryW(L"VelkWmiPci.dll")) {
    if (!dll_) throw std::runtime_error("the DLL cannot be loaded");
    if (memory == DllMemory::kGuarded) {
        // What it allocated while it was loaded is given back first, and allocated again, but for the pool
        // that the C++ run-time keeps for exceptions without memory.
        CallDllMain(DLL_PROCESS_DETACH);
        pageHeap_.emplace(dll_.Get());
        CallDllMain(DLL_PROCESS_ATTACH);
    }
    replay_.emplace(dll_.Get(), std::move(machine));
}

HostedDll::~HostedDll() {
    // The redirections end before the DLL and after its threads.
    const auto canUnloadNow = Export<HRESULT(WINAPI*)()>(dll_.Get(), "DllCanUnloadNow");
    EXPECT_TRUE(BecomesTrue([&] { return canUnloadNow() == S_OK; })) << "the DLL still has objects";
    replay_.reset();
    if (pageHeap_) CallDllMain(DLL_PROCESS_DETACH);
    pageHeap_.reset();
    dll_.Reset();
    EXPECT_TRUE(IsUnloaded(L"VelkWmiPci.dll"));
}

void HostedDll::CallDllMain(DWORD reason) const {
    Export<BOOL(WINAPI*)(HMODULE, DWORD, void*)>(dll_.Get(), "DllMain")(dll_.Get(), reason, nullptr);
}

bool IsUnloaded(const wchar_t* library) {
    return BecomesTrue([&] { return ::GetModuleHandleW(library) == nullptr; });
}

}  // namespace velktest
