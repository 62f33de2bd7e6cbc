#include "inventory.h"

#include <algorithm>

#include "common/variant.h"

namespace velktest {

namespace {

velk::CString ValueText(const VARIANT& value) {
    if ((value.vt & VT_ARRAY) == 0) {
        velk::Variant text;
        const HRESULT result =
            ::VariantChangeType(text.Address(), const_cast<VARIANT*>(&value), VARIANT_ALPHABOOL, VT_BSTR);
        return SUCCEEDED(result) ? velk::CString(text.Text()) : L"?";
    }
    LONG upper = -1;
    ::SafeArrayGetUBound(value.parray, 1, &upper);
    velk::CString text = L"{";
    for (LONG index = 0; index <= upper; ++index) {
        VARIANT element = {};
        element.vt = static_cast<VARTYPE>(value.vt & ~VT_ARRAY);
        ::SafeArrayGetElement(value.parray, &index, &element.llVal);
        text += ValueText(element) + L",";
        ::VariantClear(&element);
    }
    return text + L"}";
}

/// Quotes and backslashes as object paths have them.
velk::CString Escape(const velk::CString& text) {
    velk::CString escaped;
    for (const wchar_t character : text) {
        if (character == L'\\' || character == L'"') escaped += L'\\';
        escaped += character;
    }
    return escaped;
}

}  // namespace

FakeObjects DeliveredTo(const RecordingSink& sink) {
    FakeObjects objects;
    for (const auto& indication : sink.indications) {
        for (const auto& object : indication)
            objects.emplace_back(static_cast<FakeClassObject*>(object.Get()));
    }
    return objects;
}

Inventory InventoryOf(const FakeObjects& instances) {
    Inventory inventory;
    for (const auto& instance : instances) {
        RecordText& record = inventory.emplace_back();
        for (const velk::CString& name : instance->puts)
            record.push_back({name, ValueText(*instance->Find(name))});
    }
    return inventory;
}

velk::CString PathOf(const velk::CString& wmiClass, const FakeClassObject& instance,
                     const std::vector<velk::CString>& keys, const velk::CString& suffix) {
    velk::CString path = wmiClass;
    wchar_t separator = L'.';
    for (const velk::CString& key : keys) {
        path += separator + key + L"=\"" + Escape(instance.Text(key) + suffix) + L"\"";
        separator = L',';
    }
    return path;
}

}  // namespace velktest
