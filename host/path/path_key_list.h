#pragma once

#include <memory>

#include "host/com/com_object.h"
#include "host/path/path_state.h"

namespace velkhost {

/// The keys of a path, seen and changed through WMI's interface. It shares the path's state: a change here is
/// a change of the path.
class PathKeyList final : public ComObject<IWbemPathKeyList> {
  public:
    explicit PathKeyList(std::shared_ptr<PathState> state) : state_(std::move(state)) {}

    HRESULT STDMETHODCALLTYPE GetCount(ULONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE SetKey(LPCWSTR name, ULONG flags, ULONG cimType,
                                     LPVOID value) noexcept override;
    HRESULT STDMETHODCALLTYPE SetKey2(LPCWSTR name, ULONG flags, ULONG cimType,
                                      VARIANT* value) noexcept override;
    /// The value as text, unescaped; its buffer's size is in bytes.
    HRESULT STDMETHODCALLTYPE GetKey(ULONG index, ULONG flags, ULONG* nameLength, LPWSTR name,
                                     ULONG* valueSize, LPVOID value, ULONG* cimType) noexcept override;
    /// The value as VT_BSTR (texts, and integers beyond 32 bits), VT_I4 or VT_BOOL.
    HRESULT STDMETHODCALLTYPE GetKey2(ULONG index, ULONG flags, ULONG* nameLength, LPWSTR name,
                                      VARIANT* value, ULONG* cimType) noexcept override;
    HRESULT STDMETHODCALLTYPE RemoveKey(LPCWSTR name, ULONG flags) noexcept override;
    HRESULT STDMETHODCALLTYPE RemoveAllKeys(ULONG flags) noexcept override;
    HRESULT STDMETHODCALLTYPE MakeSingleton(boolean set) noexcept override;
    /// The bits that tell of keys: compound, implied, singleton.
    HRESULT STDMETHODCALLTYPE GetInfo(ULONG requested, ULONGLONG* response) noexcept override;
    HRESULT STDMETHODCALLTYPE GetText(long flags, ULONG* length, LPWSTR text) noexcept override;

  private:
    HRESULT Store(LPCWSTR name, PathKeyValue value);

    std::shared_ptr<PathState> state_;
};

/// WBEMPATH_INFO_* bits that a path's keys give it.
ULONGLONG KeyInfo(const ObjectPath& path) noexcept;

}  // namespace velkhost
