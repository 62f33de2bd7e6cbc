#pragma once

#include "common/bstr.h"
#include "common/platform.h"

namespace velk {

/// What a provider makes once WMI has handed it a namespace: it looks up the class of extended error objects
/// there.
class CProviderHelper {
  public:
    CProviderHelper(IWbemServices* wbemNamespace, IWbemContext* context) noexcept;

    /// How the look-up of "__ExtendedStatus" ended. Nothing depends on it: a namespace without that class is
    /// served too.
    HRESULT Status() const noexcept { return status_; }

  private:
    HRESULT status_;
};

/// The helper of instance providers.
class CInstanceProviderHelper : public CProviderHelper {
  public:
    using CProviderHelper::CProviderHelper;

    /// Whether an object path names an instance of a class. `test` holds WBEMPATH_INFO_* bits, one of which
    /// the path must have. 0, or:
    ///   WBEM_E_INVALID_PARAMETER    no parser can be made
    ///   WBEM_E_NOT_FOUND            the path names another class (compared without regard to case)
    ///   WBEM_E_INVALID_OBJECT_PATH  the path has none of the bits
    ///   WBEM_E_OUT_OF_MEMORY, 0x80070216 (length overflow), or what the path parser answers
    HRESULT CheckInstancePath(IClassFactory* parserFactory, const Bstr& objectPath, const wchar_t* className,
                              ULONGLONG test) const noexcept;
};

}  // namespace velk
