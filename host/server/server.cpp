#include "host/server/server.h"

#include <optional>
#include <stdexcept>
#include <utility>

#include "host/com/class_factory.h"
#include "host/com/wbem_codes.h"
#include "host/machine/machine_repository.h"
#include "host/machine/machine_setup.h"
#include "host/path/path_parser.h"
#include "host/server/message_log.h"
#include "host/services/apartment.h"
#include "host/services/locator.h"
#include "host/utf8.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace velkhost {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kNamespace = L"root\\VKQ";

/// Connects to the machine that is set up by then.
class ServerLocator final : public ComObject<IWbemLocator> {
  public:
    HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR resource, const BSTR user, const BSTR password,
                                            const BSTR locale, LONG securityFlags, const BSTR authority,
                                            IWbemContext* context,
                                            IWbemServices** services) noexcept override {
        if (resource == nullptr || services == nullptr) return velk::kWbemInvalidParameter;
        *services = nullptr;
        return GuardedCall([&]() -> HRESULT {
            Server& server = Server::Instance();
            const auto core = server.Core();
            if (!core) return kWbemInitializationFailure;
            const velk::Bstr granted(server.NamespaceFor(resource));
            return MakeComObject<Locator>(core)->ConnectServer(granted.Get(), user, password, locale,
                                                               securityFlags, authority, context, services);
        });
    }
};

std::optional<Machine> LoadConfiguredMachine() {
    const ServerSettings settings = ReadServerSettings();
    if (!settings.machine) {
        throw std::runtime_error(
            "no machine is configured: name a machine file in the environment variable VELKHOST_MACHINE, or "
            "in the registry value Machine of HKEY_LOCAL_MACHINE\\" +
            Utf8FromWide(kSettingsKey));
    }
    if (*settings.machine == kThisComputer) return std::nullopt;
    return LoadMachine(fs::path(*settings.machine));
}

HMODULE ThisModule() { return reinterpret_cast<HMODULE>(&__ImageBase); }

}  // namespace

/// A machine that is set up.
struct Server::Session {
    explicit Session(std::optional<Machine> configured) {
        Machine* const machine = configured ? &*configured : nullptr;
        Repository repository = BuildRepository(
            ShippedMofFiles(machine, false, FindShippedMof(FileOfModule(ThisModule()).parent_path())),
            machine);
        if (configured) provider.emplace(repository, kNamespace, std::move(*configured));
        HostOptions options;
        options.report = LogMessage;
        core = std::make_shared<HostCore>(std::move(repository), std::move(options));
    }

    // The provider lives in the multi-threaded apartment, whatever apartments the clients come from.
    const KeptApartment apartment;
    std::optional<ReplayedProvider> provider;
    std::shared_ptr<HostCore> core;
};

Server& Server::Instance() {
    static Server* const server = new Server;
    return *server;
}

HRESULT Server::GetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    velk::ComPtr<IClassFactory> factory;
    if (::IsEqualCLSID(clsid, CLSID_WbemLocator)) factory = MakeClassFactory<ServerLocator>();
    if (::IsEqualCLSID(clsid, kClsidWbemDefPath)) factory = MakePathParserClass();
    return factory ? factory->QueryInterface(iid, object) : CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT Server::CanUnloadNow() {
    const std::lock_guard lock(mutex_);
    return session_ == nullptr && LiveComObjects() == 0 ? S_OK : S_FALSE;
}

std::shared_ptr<HostCore> Server::Core() {
    const std::lock_guard lock(mutex_);
    if (session_ == nullptr) {
        try {
            session_ = new Session(LoadConfiguredMachine());
        } catch (const std::exception& failure) {
            LogMessage(L"No client can connect: " + WideFromUtf8(failure.what()));
            return nullptr;
        }
    }
    return session_->core;
}

std::wstring Server::NamespaceFor(const std::wstring& asked) {
    const auto instead = ReadServerSettings().cimv2;
    if (!instead || !SameName(NormalizeNamespace(asked), L"root\\cimv2")) return asked;
    const std::wstring server = ServerOf(asked);
    return server.empty() ? *instead : L"\\\\" + server + L"\\" + *instead;
}

}  // namespace velkhost
