#include "host/path/path_key_list.h"

#include <cstring>
#include <limits>
#include <utility>

#include "common/text.h"
#include "common/variant.h"
#include "host/com/wbem_codes.h"

namespace velkhost {

namespace {

struct VariantValue {
    velk::Variant value;
    ULONG cimType;
};

bool FitsInteger32(std::int64_t number) {
    return number >= std::numeric_limits<LONG>::min() && number <= std::numeric_limits<LONG>::max();
}

VariantValue TextVariant(std::wstring_view text, CIMTYPE_ENUMERATION cimType) {
    return {velk::Variant::FromText(velk::Bstr(text)), static_cast<ULONG>(cimType)};
}

VariantValue ToVariant(const PathKeyValue& key) {
    if (const auto* text = std::get_if<std::wstring>(&key)) return TextVariant(*text, CIM_STRING);
    if (const auto* truth = std::get_if<bool>(&key)) return {velk::Variant::Bool(*truth), CIM_BOOLEAN};
    if (std::holds_alternative<std::uint64_t>(key)) return TextVariant(FormatKeyValue(key), CIM_UINT64);
    const std::int64_t number = std::get<std::int64_t>(key);
    if (FitsInteger32(number)) return {velk::Variant::SInt32(static_cast<LONG>(number)), CIM_SINT32};
    return TextVariant(FormatKeyValue(key), number < 0 ? CIM_SINT64 : CIM_UINT64);
}

/// The value behind SetKey's untyped pointer.
std::optional<PathKeyValue> FromPointer(ULONG cimType, const void* value) {
    switch (cimType) {
        case CIM_STRING:
        case CIM_REFERENCE:
        case CIM_DATETIME:
            return std::wstring(static_cast<const wchar_t*>(value));
        case CIM_BOOLEAN:
            return *static_cast<const VARIANT_BOOL*>(value) != VARIANT_FALSE;
        case CIM_SINT8:
            return std::int64_t{*static_cast<const std::int8_t*>(value)};
        case CIM_UINT8:
            return std::int64_t{*static_cast<const std::uint8_t*>(value)};
        case CIM_SINT16:
            return std::int64_t{*static_cast<const std::int16_t*>(value)};
        case CIM_UINT16:
            return std::int64_t{*static_cast<const std::uint16_t*>(value)};
        case CIM_SINT32:
            return std::int64_t{*static_cast<const std::int32_t*>(value)};
        case CIM_UINT32:
            return std::int64_t{*static_cast<const std::uint32_t*>(value)};
        case CIM_SINT64:
            return *static_cast<const std::int64_t*>(value);
        case CIM_UINT64: {
            const auto number = *static_cast<const std::uint64_t*>(value);
            constexpr auto kSignedMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
            if (number > kSignedMax) return number;
            return static_cast<std::int64_t>(number);
        }
        default:
            return std::nullopt;
    }
}

std::optional<PathKeyValue> FromVariant(const VARIANT& value) {
    switch (value.vt) {
        case VT_BSTR:
            return std::wstring(value.bstrVal == nullptr ? L"" : value.bstrVal,
                                ::SysStringLen(value.bstrVal));
        case VT_BOOL:
            return value.boolVal != VARIANT_FALSE;
        case VT_UI1:
            return std::int64_t{value.bVal};
        case VT_I2:
            return std::int64_t{value.iVal};
        case VT_I4:
            return std::int64_t{value.lVal};
        default:
            return std::nullopt;
    }
}

std::wstring PlainText(const PathKeyValue& value) {
    const auto* text = std::get_if<std::wstring>(&value);
    return text != nullptr ? *text : FormatKeyValue(value);
}

HRESULT CopyOutBytes(const std::wstring& text, ULONG* size, void* buffer) noexcept {
    const auto needed = static_cast<ULONG>((text.size() + 1) * sizeof(wchar_t));
    const ULONG available = std::exchange(*size, needed);
    if (buffer == nullptr) return S_OK;
    if (available < needed) return kWbemBufferTooSmall;
    std::memcpy(buffer, text.c_str(), needed);
    return S_OK;
}

}  // namespace

ULONGLONG KeyInfo(const ObjectPath& path) noexcept {
    ULONGLONG info = 0;
    if (path.keys.size() > 1) info |= WBEMPATH_INFO_IS_COMPOUND;
    if (!path.keys.empty() && path.keys.front().name.empty()) info |= WBEMPATH_INFO_HAS_IMPLIED_KEY;
    if (path.singleton) info |= WBEMPATH_INFO_CONTAINS_SINGLETON | WBEMPATH_INFO_IS_SINGLETON;
    return info;
}

HRESULT PathKeyList::GetCount(ULONG* count) noexcept {
    if (count == nullptr) return velk::kWbemInvalidParameter;
    const std::lock_guard lock(state_->mutex);
    *count = static_cast<ULONG>(state_->path.keys.size());
    return S_OK;
}

HRESULT PathKeyList::Store(LPCWSTR name, PathKeyValue value) {
    const std::lock_guard lock(state_->mutex);
    ObjectPath& path = state_->path;
    path.singleton = false;
    const std::wstring wanted(NameArgument(name));
    // A class has either one implied key or named ones.
    if (wanted.empty() || (!path.keys.empty() && path.keys.front().name.empty())) path.keys.clear();
    for (PathKey& key : path.keys) {
        if (!velk::EqualsIgnoringCase(key.name.c_str(), wanted.c_str())) continue;
        key.value = std::move(value);
        return S_OK;
    }
    path.keys.push_back({wanted, std::move(value)});
    return S_OK;
}

HRESULT PathKeyList::SetKey(LPCWSTR name, ULONG flags, ULONG cimType, LPVOID value) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (flags != 0 || value == nullptr) return velk::kWbemInvalidParameter;
        auto key = FromPointer(cimType, value);
        return key ? Store(name, std::move(*key)) : velk::kWbemInvalidParameter;
    });
}

HRESULT PathKeyList::SetKey2(LPCWSTR name, ULONG flags, ULONG cimType, VARIANT* value) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (flags != 0 || value == nullptr) return velk::kWbemInvalidParameter;
        auto key = FromVariant(*value);
        if (!key) return velk::kWbemInvalidParameter;
        // 64-bit numbers travel as text.
        if (value->vt == VT_BSTR && (cimType == CIM_UINT64 || cimType == CIM_SINT64)) {
            auto number = ParseObjectPath(L"K=" + std::get<std::wstring>(*key));
            if (!number || number->keys.size() != 1) return velk::kWbemInvalidParameter;
            key = std::move(number->keys.front().value);
        }
        return Store(name, std::move(*key));
    });
}

HRESULT PathKeyList::GetKey(ULONG index, ULONG flags, ULONG* nameLength, LPWSTR name, ULONG* valueSize,
                            LPVOID value, ULONG* cimType) noexcept {
    return GuardedCall([&]() -> HRESULT {
        const std::lock_guard lock(state_->mutex);
        const auto& keys = state_->path.keys;
        if (flags != 0 || index >= keys.size()) return velk::kWbemInvalidParameter;
        if (nameLength != nullptr) {
            const HRESULT result = CopyOut(keys[index].name, nameLength, name);
            if (FAILED(result)) return result;
        }
        if (valueSize != nullptr) {
            const HRESULT result = CopyOutBytes(PlainText(keys[index].value), valueSize, value);
            if (FAILED(result)) return result;
        }
        if (cimType != nullptr) *cimType = ToVariant(keys[index].value).cimType;
        return S_OK;
    });
}

HRESULT PathKeyList::GetKey2(ULONG index, ULONG flags, ULONG* nameLength, LPWSTR name, VARIANT* value,
                             ULONG* cimType) noexcept {
    return GuardedCall([&]() -> HRESULT {
        const std::lock_guard lock(state_->mutex);
        const auto& keys = state_->path.keys;
        if (flags != 0 || index >= keys.size()) return velk::kWbemInvalidParameter;
        if (nameLength != nullptr) {
            const HRESULT result = CopyOut(keys[index].name, nameLength, name);
            if (FAILED(result)) return result;
        }
        VariantValue made = ToVariant(keys[index].value);
        if (cimType != nullptr) *cimType = made.cimType;
        if (value == nullptr) return S_OK;
        ::VariantInit(value);
        *value = made.value.Get();
        ::VariantInit(made.value.Address());
        return S_OK;
    });
}

HRESULT PathKeyList::RemoveKey(LPCWSTR name, ULONG flags) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (flags != 0) return velk::kWbemInvalidParameter;
        const std::lock_guard lock(state_->mutex);
        const std::wstring wanted(NameArgument(name));
        const auto removed = std::erase_if(state_->path.keys, [&](const PathKey& key) {
            return velk::EqualsIgnoringCase(key.name.c_str(), wanted.c_str());
        });
        return removed != 0 ? S_OK : velk::kWbemInvalidParameter;
    });
}

HRESULT PathKeyList::RemoveAllKeys(ULONG flags) noexcept {
    if (flags != 0) return velk::kWbemInvalidParameter;
    const std::lock_guard lock(state_->mutex);
    state_->path.keys.clear();
    return S_OK;
}

HRESULT PathKeyList::MakeSingleton(boolean set) noexcept {
    const std::lock_guard lock(state_->mutex);
    state_->path.singleton = set != 0;
    if (set != 0) state_->path.keys.clear();
    return S_OK;
}

HRESULT PathKeyList::GetInfo(ULONG requested, ULONGLONG* response) noexcept {
    if (requested != 0 || response == nullptr) return velk::kWbemInvalidParameter;
    const std::lock_guard lock(state_->mutex);
    *response = KeyInfo(state_->path);
    return S_OK;
}

HRESULT PathKeyList::GetText(long flags, ULONG* length, LPWSTR text) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (flags != 0) return velk::kWbemInvalidParameter;
        const std::lock_guard lock(state_->mutex);
        return CopyOut(FormatKeys(state_->path), length, text);
    });
}

}  // namespace velkhost
