#include "host/services/host_core.h"

#include <utility>

#include "common/text.h"
#include "host/services/services.h"

namespace velkhost {

HostCore::HostCore(Repository repository, HostOptions options)
    : repository_(std::move(repository)), options_(std::move(options)), providers_(options_.report) {}

velk::ComPtr<IWbemServices> HostCore::Connect(const std::wstring& nameSpace) {
    if (!repository_.HasNamespace(nameSpace)) return {};
    return velk::ComPtr<IWbemServices>(MakeComObject<Services>(shared_from_this(), nameSpace).Get());
}

bool HostCore::IsLocal(std::wstring_view server) const {
    return server.empty() || server == L"." || SameName(server, L"localhost") ||
           SameName(server, repository_.Server());
}

std::shared_ptr<const std::vector<ClassPtr>> HostCore::DynamicClasses(const std::wstring& nameSpace,
                                                                      const ClassDef& definition) {
    const std::lock_guard lock(mutex_);
    auto& known = dynamicClasses_[velk::ToUpper(nameSpace + L":" + definition.name)];
    if (known) return known;
    auto found = std::make_shared<std::vector<ClassPtr>>();
    for (const std::wstring& name : repository_.ClassNames(nameSpace, true)) {
        const ClassPtr candidate = repository_.FindClass(nameSpace, name);
        if (!candidate->IsA(definition.name)) continue;
        HRESULT failure = S_OK;
        const bool isServed = repository_.FindProvider(nameSpace, name, failure).has_value();
        if (isServed || FAILED(failure)) found->push_back(candidate);
    }
    known = std::move(found);
    return known;
}

void HostCore::Shutdown() {
    shutDown_ = true;
    workers_.Stop();
    providers_.Clear();
}

void HostCore::Report(const std::wstring& message) const {
    if (options_.report) options_.report(message);
}

}  // namespace velkhost
