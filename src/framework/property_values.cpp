#include "framework/property_values.h"

#include <climits>
#include <cstring>
#include <stdexcept>

#include "common/com_ptr.h"
#include "common/handle.h"
#include "common/memory_reserve.h"
#include "common/variant.h"

namespace velk {

namespace {

HRESULT Put(IWbemClassObject* instance, const wchar_t* name, Variant value) {
    const ComPtr<IWbemClassObject> held(instance);
    // No type is passed: the class definition has it.
    return held->Put(name, 0, value.Address(), 0);
}

HRESULT PutText(IWbemClassObject* instance, const wchar_t* name, std::wstring_view text) {
    return Put(instance, name, Variant::FromText(Bstr(text)));
}

Bstr WidenAnsi(const char* text) {
    const int length = static_cast<int>(std::strlen(text));
    if (length == 0) return Bstr(L"");
    const int wideLength = ::MultiByteToWideChar(CP_ACP, 0, text, length, nullptr, 0);
    CString wide(static_cast<std::size_t>(wideLength), L'\0');
    ::MultiByteToWideChar(CP_ACP, 0, text, length, wide.data(), wideLength);
    return Bstr(wide);
}

/// A new zero-based, one-dimensional array. Its elements are zero.
UniqueSafeArray MakeArray(VARTYPE elementType, std::size_t count) {
    if (count > ULONG_MAX) throw std::length_error("SAFEARRAY");
    SAFEARRAYBOUND bound = {static_cast<ULONG>(count), 0};
    UniqueSafeArray array(::SafeArrayCreate(elementType, 1, &bound));
    if (!array) ThrowOutOfMemory();
    return array;
}

/// Direct access to the elements of an array of our own. The array is locked meanwhile: clearing it must wait
/// until this is gone.
template <class Element>
class ArrayElements {
  public:
    explicit ArrayElements(SAFEARRAY* array) : array_(array) {
        if (FAILED(::SafeArrayAccessData(array, reinterpret_cast<void**>(&elements_)))) ThrowOutOfMemory();
    }
    ~ArrayElements() { ::SafeArrayUnaccessData(array_); }
    ArrayElements(const ArrayElements&) = delete;
    ArrayElements& operator=(const ArrayElements&) = delete;

    Element& operator[](std::size_t index) const noexcept { return elements_[index]; }

  private:
    SAFEARRAY* array_;
    Element* elements_ = nullptr;
};

/// One template for all integer arrays: `Stored` is the C type of the array's element type.
template <VARTYPE elementType, class Stored, class Value>
HRESULT PutIntegers(IWbemClassObject* instance, const wchar_t* name, const std::vector<Value>& values) {
    static_assert(sizeof(Value) <= sizeof(Stored));
    UniqueSafeArray array = MakeArray(elementType, values.size());
    {
        const ArrayElements<Stored> elements(array.Get());
        for (std::size_t index = 0; index < values.size(); ++index)
            elements[index] = static_cast<Stored>(values[index]);
    }
    return Put(instance, name, Variant::Array(elementType, std::move(array)));
}

}  // namespace

HRESULT SetBoolProperty(IWbemClassObject* instance, const wchar_t* name, bool value) {
    return Put(instance, name, Variant::Bool(value));
}

HRESULT SetUInt8Property(IWbemClassObject* instance, const wchar_t* name, unsigned char value) {
    return Put(instance, name, Variant::UInt8(value));
}

HRESULT SetSInt8Property(IWbemClassObject* instance, const wchar_t* name, signed char value) {
    return Put(instance, name, Variant::SInt8(value));
}

HRESULT SetUInt16Property(IWbemClassObject* instance, const wchar_t* name, std::uint16_t value) {
    return Put(instance, name, Variant::SInt32(value));
}

HRESULT SetSInt16Property(IWbemClassObject* instance, const wchar_t* name, std::int16_t value) {
    return Put(instance, name, Variant::SInt32(value));
}

HRESULT SetUInt32Property(IWbemClassObject* instance, const wchar_t* name, std::uint32_t value) {
    return Put(instance, name, Variant::SInt32(static_cast<LONG>(value)));
}

HRESULT SetSInt32Property(IWbemClassObject* instance, const wchar_t* name, std::int32_t value) {
    return Put(instance, name, Variant::SInt32(value));
}

HRESULT SetUInt64Property(IWbemClassObject* instance, const wchar_t* name, std::uint64_t value) {
    return PutText(instance, name, FormatText(L"%I64u", value));
}

HRESULT SetSInt64Property(IWbemClassObject* instance, const wchar_t* name, std::int64_t value) {
    return PutText(instance, name, FormatText(L"%I64d", value));
}

HRESULT SetStringProperty(IWbemClassObject* instance, const wchar_t* name, const CString& value) {
    return PutText(instance, name, value);
}

HRESULT SetStringProperty(IWbemClassObject* instance, const wchar_t* name, const wchar_t* value) {
    return PutText(instance, name, value == nullptr ? L"" : value);
}

HRESULT SetStringProperty(IWbemClassObject* instance, const wchar_t* name, const char* value) {
    return Put(instance, name, Variant::FromText(WidenAnsi(value == nullptr ? "" : value)));
}

HRESULT SetDateTimeProperty(IWbemClassObject* instance, const wchar_t* name, const SYSTEMTIME& localTime) {
    SYSTEMTIME utc = localTime;
    LocalTimeToUtc(localTime, utc);
    // Milliseconds are all the clock gives of the six digits of the fraction, and UTC is offset 0 by
    // definition.
    return PutText(
        instance, name,
        FormatText(L"%04.4d%02.2d%02.2d%02.2d%02.2d%02.2d.%03.3d000%c%03.3d", utc.wYear, utc.wMonth, utc.wDay,
                   utc.wHour, utc.wMinute, utc.wSecond, utc.wMilliseconds, L'+', 0));
}

HRESULT SetStringArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               const std::vector<CString>& values) {
    UniqueSafeArray array = MakeArray(VT_BSTR, values.size());
    {
        const ArrayElements<BSTR> elements(array.Get());
        std::size_t next = 0;
        for (const CString& value : values) {
            if (Bstr copy = Bstr::TryCopy(value)) elements[next++] = copy.Detach();
        }
    }
    return Put(instance, name, Variant::Array(VT_BSTR, std::move(array)));
}

HRESULT SetUInt32ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               const std::vector<std::uint32_t>& values) {
    return PutIntegers<VT_I4, LONG>(instance, name, values);
}

HRESULT SetSInt32ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               const std::vector<std::int32_t>& values) {
    return PutIntegers<VT_I4, LONG>(instance, name, values);
}

HRESULT SetUInt16ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               const std::vector<std::uint16_t>& values) {
    return PutIntegers<VT_I4, LONG>(instance, name, values);
}

HRESULT SetUInt8ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                              const std::vector<unsigned char>& values) {
    return PutIntegers<VT_UI1, unsigned char>(instance, name, values);
}

void LocalTimeToUtc(const SYSTEMTIME& local, SYSTEMTIME& utc) {
    // Bound at run time: a system without the conversion still loads the module.
    const UniqueLibrary kernel(::LoadLibraryW(L"Kernel32.dll"));
    TIME_ZONE_INFORMATION zone = {};
    // Whether daylight saving is in force now does not matter: the zone's rules are applied to the given
    // date.
    ::GetTimeZoneInformation(&zone);
    if (!kernel) return;

    using Convert = decltype(&::TzSpecificLocalTimeToSystemTime);
    const FARPROC found = ::GetProcAddress(kernel.Get(), "TzSpecificLocalTimeToSystemTime");
    if (found == nullptr) return;
    reinterpret_cast<Convert>(reinterpret_cast<void*>(found))(&zone, &local, &utc);
}

}  // namespace velk
