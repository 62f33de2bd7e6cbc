#include "host/wmi_host.h"

#include <utility>

#include "host/path/path_parser.h"
#include "host/services/locator.h"

namespace velkhost {
namespace {

velk::ComPtr<IClassFactory> MakeLocatorClass(const std::shared_ptr<HostCore>& core) {
    const auto factory = MakeComObject<ClassFactory>([core](REFIID iid, void** object) {
        return MakeComObject<Locator>(core)->QueryInterface(iid, object);
    });
    return velk::ComPtr<IClassFactory>(factory.Get());
}

}  // namespace

WmiHost::WmiHost(Repository repository, HostOptions options)
    : core_(std::make_shared<HostCore>(std::move(repository), std::move(options))) {
    pathParser_.emplace(RegisterPathParser());
    locator_.emplace(CLSID_WbemLocator, MakeLocatorClass(core_).Get());
}

WmiHost::~WmiHost() {
    core_->Shutdown();
    locator_.reset();
    pathParser_.reset();
    ::CoFreeUnusedLibrariesEx(0, 0);
}

}  // namespace velkhost
