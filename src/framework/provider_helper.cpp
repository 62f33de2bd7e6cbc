#include "framework/provider_helper.h"

#include <limits>
#include <memory>
#include <new>

#include "common/com_ptr.h"
#include "common/wbem_status.h"

namespace velk {

namespace {

HRESULT FetchExtendedStatusClass(IWbemServices* wbemNamespace, IWbemContext* context) noexcept {
    if (wbemNamespace == nullptr) return kWbemInvalidParameter;
    const Bstr className = Bstr::TryCopy(L"__ExtendedStatus");
    if (!className) return kWbemOutOfMemory;
    ComPtr<IWbemClassObject> extendedStatus;
    return wbemNamespace->GetObject(className.Get(), 0, context, extendedStatus.Put(), nullptr);
}

/// English (United States): class names compare the same whatever the user's locale does with the letter i.
constexpr LCID kComparisonLocale = 1033;

bool IsSameClassName(const wchar_t* left, const wchar_t* right) noexcept {
    return ::CompareStringW(kComparisonLocale, NORM_IGNORECASE, left, -1, right, -1) == CSTR_EQUAL;
}

}  // namespace

CProviderHelper::CProviderHelper(IWbemServices* wbemNamespace, IWbemContext* context) noexcept
    : status_(FetchExtendedStatusClass(wbemNamespace, context)) {}

HRESULT CInstanceProviderHelper::CheckInstancePath(IClassFactory* parserFactory, const Bstr& objectPath,
                                                   const wchar_t* className, ULONGLONG test) const noexcept {
    if (parserFactory == nullptr) return kWbemInvalidParameter;
    ComPtr<IWbemPath> path;
    if (FAILED(parserFactory->CreateInstance(nullptr, kIidIWbemPath, path.PutVoid())))
        return kWbemInvalidParameter;

    HRESULT result = path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, objectPath.Get());
    if (FAILED(result)) return result;

    // No class name is longer than the path that it stands in.
    const std::size_t pathLength = objectPath.View().size();
    if (pathLength >= std::numeric_limits<ULONG>::max()) return HRESULT_FROM_WIN32(ERROR_ARITHMETIC_OVERFLOW);
    ULONG length = static_cast<ULONG>(pathLength) + 1;
    const std::unique_ptr<wchar_t[]> pathClass(new (std::nothrow) wchar_t[length]());
    if (!pathClass) return kWbemOutOfMemory;
    result = path->GetClassName(&length, pathClass.get());
    if (FAILED(result)) return result;
    if (!IsSameClassName(className, pathClass.get())) return kWbemNotFound;

    ULONGLONG information = 0;
    result = path->GetInfo(0, &information);
    if (FAILED(result)) return result;
    return (information & test) != 0 ? kWbemNoError : kWbemInvalidObjectPath;
}

}  // namespace velk
