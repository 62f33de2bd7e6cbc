#pragma once

#include <atomic>

#include "host/com/com_object.h"

namespace velkhost {

/// An object on which clients set the security of their calls, as they must on the proxies that WMI hands
/// out: CoSetProxyBlanket asks for IClientSecurity, and the clients that documentation shows give up without.
/// Here every call stays in the process, so that what is set is only remembered.
template <class Interface>
class SecuredObject : public ComObject<Interface, IClientSecurity> {
  public:
    HRESULT STDMETHODCALLTYPE QueryBlanket(IUnknown* proxy, DWORD* authentication, DWORD* authorization,
                                           OLECHAR** principal, DWORD* level, DWORD* impersonation,
                                           void** identity, DWORD* capabilities) noexcept override {
        if (proxy == nullptr) return E_INVALIDARG;
        if (authentication != nullptr) *authentication = RPC_C_AUTHN_WINNT;
        if (authorization != nullptr) *authorization = RPC_C_AUTHZ_NONE;
        if (principal != nullptr) *principal = nullptr;
        if (level != nullptr) *level = level_;
        if (impersonation != nullptr) *impersonation = impersonation_;
        if (identity != nullptr) *identity = nullptr;
        if (capabilities != nullptr) *capabilities = EOAC_NONE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetBlanket(IUnknown* proxy, DWORD, DWORD, OLECHAR*, DWORD level,
                                         DWORD impersonation, void*, DWORD) noexcept override {
        if (proxy == nullptr) return E_INVALIDARG;
        if (level != RPC_C_AUTHN_LEVEL_DEFAULT) level_ = level;
        if (impersonation != RPC_C_IMP_LEVEL_DEFAULT) impersonation_ = impersonation;
        return S_OK;
    }
    /// The copy of an object without a proxy is the object.
    HRESULT STDMETHODCALLTYPE CopyProxy(IUnknown* proxy, IUnknown** copy) noexcept override {
        if (proxy == nullptr || copy == nullptr) return E_INVALIDARG;
        proxy->AddRef();
        *copy = proxy;
        return S_OK;
    }

  private:
    // What WMI's proxies come with.
    std::atomic<DWORD> level_ = RPC_C_AUTHN_LEVEL_PKT;
    std::atomic<DWORD> impersonation_ = RPC_C_IMP_LEVEL_IDENTIFY;
};

}  // namespace velkhost
