#include "support/hosted/provider_bench.h"

namespace velktest {

ProviderBench::ProviderBench() : pathParser_(velkhost::RegisterPathParser()) {
    ServeComputerSystemClass(L"WMISERVER");
}

void ProviderBench::ServeComputerSystemClass(const velk::CString& server) {
    const auto systemClass = FakeClassObject::Make();
    systemClass->SetText(L"__SERVER", server);
    systemClass->SetText(L"__PATH", L"\\\\" + server + L"\\root\\VKQ:Velk_WinComputerSystem");
    wmi.Namespace(L"root\\VKQ").Answer(kComputerSystemQuery, {.objects = {systemClass}});
}

HRESULT ProviderBench::Enumerate(IWbemServices& provider) {
    sink = RecordingSink::Make();
    const velk::Bstr className(L"any");
    return provider.CreateInstanceEnumAsync(className.Get(), 0, nullptr, sink.Get());
}

HRESULT ProviderBench::Get(IWbemServices& provider, const velk::CString& path) {
    sink = RecordingSink::Make();
    const velk::Bstr objectPath(path);
    return provider.GetObjectAsync(objectPath.Get(), 0, nullptr, sink.Get());
}

FakeObjects ProviderBench::Delivered() const {
    FakeObjects objects;
    for (const auto& indication : sink->indications) {
        for (const auto& object : indication)
            objects.emplace_back(static_cast<FakeClassObject*>(object.Get()));
    }
    return objects;
}

}  // namespace velktest
