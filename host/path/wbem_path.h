#pragma once

#include <memory>

#include "host/com/com_object.h"
#include "host/path/path_state.h"

namespace velkhost {

/// WMI's object-path parser object. Scopes (a path behind a path) are not offered.
class WbemPath final : public ComObject<IWbemPath> {
  public:
    WbemPath() : state_(std::make_shared<PathState>()) {}

    /// The mode needs one of the ACCEPT bits. ACCEPT_ABSOLUTE alone wants a server in the text,
    /// ACCEPT_RELATIVE alone wants none.
    HRESULT STDMETHODCALLTYPE SetText(ULONG mode, LPCWSTR text) noexcept override;
    HRESULT STDMETHODCALLTYPE GetText(long flags, ULONG* length, LPWSTR text) noexcept override;
    HRESULT STDMETHODCALLTYPE GetInfo(ULONG requested, ULONGLONG* response) noexcept override;
    HRESULT STDMETHODCALLTYPE SetServer(LPCWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetServer(ULONG* length, LPWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetNamespaceCount(ULONG* count) noexcept override;
    /// Inserts before the one at the index, or appends.
    HRESULT STDMETHODCALLTYPE SetNamespaceAt(ULONG index, LPCWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetNamespaceAt(ULONG index, ULONG* length, LPWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE RemoveNamespaceAt(ULONG index) noexcept override;
    HRESULT STDMETHODCALLTYPE RemoveAllNamespaces() noexcept override;
    HRESULT STDMETHODCALLTYPE SetClassName(LPCWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetClassName(ULONG* length, LPWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetKeyList(IWbemPathKeyList** list) noexcept override;
    HRESULT STDMETHODCALLTYPE CreateClassPart(long flags, LPCWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE DeleteClassPart(long flags) noexcept override;
    /// Whether the path lies in that namespace of that machine.
    BOOL STDMETHODCALLTYPE IsRelative(LPWSTR machine, LPWSTR nameSpace) noexcept override;
    /// The same, or in a namespace below it.
    BOOL STDMETHODCALLTYPE IsRelativeOrChild(LPWSTR machine, LPWSTR nameSpace, long flags) noexcept override;
    BOOL STDMETHODCALLTYPE IsLocal(LPCWSTR machine) noexcept override;
    BOOL STDMETHODCALLTYPE IsSameClassName(LPCWSTR name) noexcept override;

    HRESULT STDMETHODCALLTYPE GetScopeCount(ULONG*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetScope(ULONG, LPWSTR) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetScopeFromText(ULONG, LPWSTR) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetScope(ULONG, ULONG*, LPWSTR, IWbemPathKeyList**) noexcept override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetScopeAsText(ULONG, ULONG*, LPWSTR) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveScope(ULONG) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveAllScopes() noexcept override { return E_NOTIMPL; }

  private:
    std::shared_ptr<PathState> state_;
};

}  // namespace velkhost
