#include "tool/source/wmi_source.h"

#include <utility>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "host/model/repository.h"
#include "host/services/apartment.h"
#include "host/utf8.h"
#include "tool/basics/errors.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;
using velkhost::WideFromUtf8;

/// Who asks at the other computer; without a user the caller's own account.
class Identity {
  public:
    Identity() = default;
    /// `user` is NAME, DOMAIN\NAME or NAME@DOMAIN.
    Identity(std::wstring user, std::wstring password)
        : account_(std::move(user)), password_(std::move(password)), isNamed_(true) {
        const std::size_t slash = account_.find(L'\\');
        name_ = slash == std::wstring::npos ? account_ : account_.substr(slash + 1);
        domain_ = slash == std::wstring::npos ? std::wstring() : account_.substr(0, slash);
        auth_.User = reinterpret_cast<unsigned short*>(name_.data());
        auth_.UserLength = static_cast<ULONG>(name_.size());
        auth_.Domain = reinterpret_cast<unsigned short*>(domain_.data());
        auth_.DomainLength = static_cast<ULONG>(domain_.size());
        auth_.Password = reinterpret_cast<unsigned short*>(password_.data());
        auth_.PasswordLength = static_cast<ULONG>(password_.size());
        auth_.Flags = SEC_WINNT_AUTH_IDENTITY_UNICODE;
    }
    ~Identity() { ::SecureZeroMemory(password_.data(), password_.size() * sizeof(wchar_t)); }
    // The identity points into its own texts.
    Identity(const Identity&) = delete;
    Identity& operator=(const Identity&) = delete;

    bool IsNamed() const { return isNamed_; }
    const std::wstring& Account() const { return account_; }
    const std::wstring& Password() const { return password_; }
    COAUTHIDENTITY* Auth() const { return isNamed_ ? &auth_ : nullptr; }

  private:
    std::wstring account_, name_, domain_, password_;
    bool isNamed_ = false;
    mutable COAUTHIDENTITY auth_{};
};

HRESULT SetBlanket(IUnknown& proxy, COAUTHIDENTITY* identity) {
    return ::CoSetProxyBlanket(&proxy, RPC_C_AUTHN_DEFAULT, RPC_C_AUTHZ_DEFAULT, COLE_DEFAULT_PRINCIPAL,
                               RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_IMPERSONATE, identity,
                               EOAC_NONE);
}

class WmiSource final : public Source {
  public:
    WmiSource(SourceInfo info, std::wstring resource, std::unique_ptr<const Identity> identity)
        : Source(std::move(info)), identity_(std::move(identity)) {
        const std::string shown = Utf8FromWide(resource);
        // Once a process; a failure leaves the defaults, which the blanket of each proxy overrides.
        ::CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY,
                               RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
        velk::ComPtr<IWbemLocator> locator;
        HRESULT result = ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                            IID_IWbemLocator, locator.PutVoid());
        if (FAILED(result)) throw WmiError("WMI's locator", result);
        result = Connect(*locator, resource);
        if (FAILED(result)) throw WmiError(shown, result);
        result = Protect(*services_);
        if (FAILED(result)) throw WmiError(shown + ": packet privacy", result);
    }

    IWbemServices& Services() const override { return *services_; }

    HRESULT Protect(IUnknown& proxy) const override {
        const HRESULT result = SetBlanket(proxy, identity_->Auth());
        // An object in this process has no proxy, and needs no protection.
        return result == E_NOINTERFACE ? S_OK : result;
    }

  private:
    HRESULT Connect(IWbemLocator& locator, const std::wstring& resource) {
        const velk::Bstr path(resource);
        const velk::Bstr user(identity_->Account());
        const velk::Bstr password(identity_->Password());
        const bool isNamed = identity_->IsNamed();
        return locator.ConnectServer(path.Get(), isNamed ? user.Get() : nullptr,
                                     isNamed ? password.Get() : nullptr, nullptr,
                                     WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, services_.Put());
    }

    const velkhost::ComApartment apartment_;
    const std::unique_ptr<const Identity> identity_;
    velk::ComPtr<IWbemServices> services_;
};

}  // namespace

std::unique_ptr<Source> OpenWmiSource(const SourceOptions& options, const Console& console) {
    const std::wstring nameSpace = velkhost::NormalizeNamespace(WideFromUtf8(options.nameSpace));
    auto identity = std::make_unique<const Identity>();
    if (options.user)
        identity = std::make_unique<const Identity>(WideFromUtf8(*options.user),
                                                    ReadPassword(console, *options.user));
    SourceInfo info{options.computer ? SourceInfo::Kind::kComputer : SourceInfo::Kind::kWmi,
                    options.computer.value_or(""), Utf8FromWide(nameSpace)};
    if (options.verbose) console.PrintError("WMI of " + options.computer.value_or("this computer") + "\n");
    return std::make_unique<WmiSource>(
        std::move(info), L"\\\\" + WideFromUtf8(options.computer.value_or(".")) + L"\\" + nameSpace,
        std::move(identity));
}

}  // namespace velkpci
