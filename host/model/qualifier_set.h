#pragma once

#include <string>
#include <vector>

#include "host/com/com_object.h"
#include "host/model/class_def.h"

namespace velkhost {

/// The qualifiers of a class or property, to be read. A copy of its own, so that it may outlive the object
/// that it came from.
class QualifierSet final : public ComObject<IWbemQualifierSet> {
  public:
    explicit QualifierSet(QualifierList qualifiers) : qualifiers_(std::move(qualifiers)) {}

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, LONG* flavor) noexcept override;
    /// Classes come from MOF texts and keep the qualifiers written there: WBEM_E_READ_ONLY.
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, VARIANT* value, LONG flavor) noexcept override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetNames(LONG flags, SAFEARRAY** names) noexcept override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) noexcept override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, LONG* flavor) noexcept override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() noexcept override;

  private:
    const QualifierList qualifiers_;
    bool enumerating_ = false;
    LONG enumerationFlags_ = 0;
    std::size_t next_ = 0;
};

/// A SAFEARRAY of BSTR, as GetNames hands names out. Throws std::bad_alloc.
SAFEARRAY* MakeNameArray(const std::vector<std::wstring>& names);

}  // namespace velkhost
