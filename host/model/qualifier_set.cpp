#include "host/model/qualifier_set.h"

#include <utility>

#include "common/wbem_status.h"

namespace velkhost {

namespace {

// LOCAL_ONLY and PROPAGATED_ONLY are the only flags there are for qualifiers.
bool FitsOrigin(const QualifierDef& qualifier, LONG flags) {
    const bool isPropagated = (qualifier.flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) != 0;
    if (flags == WBEM_FLAG_LOCAL_ONLY) return !isPropagated;
    if (flags == WBEM_FLAG_PROPAGATED_ONLY) return isPropagated;
    return true;
}

bool AreOriginFlags(LONG flags) {
    return flags == 0 || flags == WBEM_FLAG_LOCAL_ONLY || flags == WBEM_FLAG_PROPAGATED_ONLY;
}

}  // namespace

SAFEARRAY* MakeNameArray(const std::vector<std::wstring>& names) {
    Value::List elements;
    for (const std::wstring& name : names) elements.push_back(Value::Text(name));
    velk::Variant array = ToVariant({Cim::kString, true}, Value::Array(std::move(elements)));
    array.Address()->vt = VT_EMPTY;  // the array goes to the caller
    return array.Get().parray;
}

HRESULT QualifierSet::Get(LPCWSTR name, LONG flags, VARIANT* value, LONG* flavor) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (name == nullptr || flags != 0) return velk::kWbemInvalidParameter;
        const QualifierDef* qualifier = FindQualifier(qualifiers_, name);
        if (qualifier == nullptr) return velk::kWbemNotFound;
        if (value != nullptr) {
            velk::Variant made = ToVariant(qualifier->type, qualifier->value);
            *value = std::exchange(*made.Address(), VARIANT{});
        }
        if (flavor != nullptr) *flavor = qualifier->flavor;
        return velk::kWbemNoError;
    });
}

HRESULT QualifierSet::Put(LPCWSTR, VARIANT*, LONG) noexcept { return static_cast<HRESULT>(WBEM_E_READ_ONLY); }

HRESULT QualifierSet::Delete(LPCWSTR) noexcept { return static_cast<HRESULT>(WBEM_E_READ_ONLY); }

HRESULT QualifierSet::GetNames(LONG flags, SAFEARRAY** names) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (names == nullptr || !AreOriginFlags(flags)) return velk::kWbemInvalidParameter;
        std::vector<std::wstring> wanted;
        for (const QualifierDef& qualifier : qualifiers_) {
            if (FitsOrigin(qualifier, flags)) wanted.push_back(qualifier.name);
        }
        *names = MakeNameArray(wanted);
        return velk::kWbemNoError;
    });
}

HRESULT QualifierSet::BeginEnumeration(LONG flags) noexcept {
    if (!AreOriginFlags(flags)) return velk::kWbemInvalidParameter;
    enumerating_ = true;
    enumerationFlags_ = flags;
    next_ = 0;
    return velk::kWbemNoError;
}

HRESULT QualifierSet::Next(LONG flags, BSTR* name, VARIANT* value, LONG* flavor) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (flags != 0) return velk::kWbemInvalidParameter;
        if (!enumerating_) return static_cast<HRESULT>(WBEM_E_UNEXPECTED);
        while (next_ < qualifiers_.size() && !FitsOrigin(qualifiers_[next_], enumerationFlags_)) ++next_;
        if (next_ == qualifiers_.size()) return WBEM_S_NO_MORE_DATA;
        const QualifierDef& qualifier = qualifiers_[next_];
        velk::Bstr nameText(qualifier.name);
        if (const HRESULT result = Get(nameText.Get(), 0, value, flavor); FAILED(result)) return result;
        if (name != nullptr) *name = nameText.Detach();
        ++next_;
        return velk::kWbemNoError;
    });
}

HRESULT QualifierSet::EndEnumeration() noexcept {
    enumerating_ = false;
    return velk::kWbemNoError;
}

}  // namespace velkhost
