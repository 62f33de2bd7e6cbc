#include "common/computer_system.h"

#include "common/heap_memory.h"
#include "common/suite_names.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "common/wmi_query.h"

namespace velk {

namespace {

constexpr wchar_t kComputerSystemClass[] = L"Velk_WinComputerSystem";

HRESULT QueryComputerSystemClass(WmiObjects& classes) {
    // Not formatted: it is asked for each object path that is made.
    return QueryWmi(kSuiteNamespace, L"SELECT * FROM meta_class WHERE __CLASS = \"Velk_WinComputerSystem\"",
                    classes, nullptr);
}

/// False, with the output untouched, unless the object has a text there.
bool ReadText(IWbemClassObject& object, const wchar_t* name, CString& text) {
    Variant value;
    if (FAILED(object.Get(name, 0, value.Put(), nullptr, nullptr)) || value.Type() != VT_BSTR) return false;
    text = value.Text();
    return true;
}

wchar_t* Characters(const UniqueHeapMemory& buffer) noexcept { return static_cast<wchar_t*>(buffer.Get()); }

}  // namespace

DWORD GetLocalComputerName(CString& name) {
    name.clear();
    DWORD error = ERROR_SUCCESS;
    for (const COMPUTER_NAME_FORMAT format :
         {ComputerNameDnsFullyQualified, ComputerNameDnsHostname, ComputerNameNetBIOS}) {
        error = GetComputerNameByFormat(name, format);
        if (error == ERROR_SUCCESS) return ERROR_SUCCESS;
    }
    return error;
}

DWORD GetComputerNameByFormat(CString& name, COMPUTER_NAME_FORMAT format) {
    // The capacity told to the system is in characters and the buffer has only as many bytes. No name gets
    // near the end of it: a fully qualified DNS name has at most 255 characters, a host name 63, a NetBIOS
    // name 15.
    constexpr DWORD kFirstCapacity = 8192;
    UniqueHeapMemory buffer = AllocateUnclearedHeapMemory(kFirstCapacity);
    if (!buffer) return ERROR_NOT_ENOUGH_MEMORY;
    // Names are asked for twice per record: to clear all of the buffer took a twentieth of an enumeration.
    // Its ends are enough, whether the platform writes nothing or a name without an end.
    Characters(buffer)[0] = L'\0';
    Characters(buffer)[kFirstCapacity / sizeof(wchar_t) - 1] = L'\0';
    DWORD size = kFirstCapacity;
    if (!::GetComputerNameExW(format, Characters(buffer), &size)) {
        const DWORD error = ::GetLastError();
        if (error != ERROR_MORE_DATA) return error;
        ++size;
        buffer.Reset();
        buffer = AllocateHeapMemory(SIZE_T{size} * sizeof(wchar_t));
        if (!buffer) return ERROR_NOT_ENOUGH_MEMORY;
        if (!::GetComputerNameExW(format, Characters(buffer), &size)) return ::GetLastError();
    }
    name = Characters(buffer);
    return ERROR_SUCCESS;
}

const wchar_t* GetComputerSystemClassName() noexcept { return kComputerSystemClass; }

HRESULT GetComputerSystemPath(CString& path) {
    path.clear();
    WmiObjects classes;
    const HRESULT status = QueryComputerSystemClass(classes);
    if (FAILED(status)) return status;
    if (classes.size() != 1) return kWbemFailed;

    CString classPath;
    // The caller sees a success and no path.
    if (!ReadText(*classes.front(), L"__PATH", classPath)) return status;
    CString computerName;
    if (GetLocalComputerName(computerName) != ERROR_SUCCESS) return kWbemFailed;
    path =
        FormatText(L"%s.CreationClassName=\"%s\",Name=\"%s\"", classPath, kComputerSystemClass, computerName);
    return status;
}

HRESULT GetChassisPath(CString& path) {
    path.clear();
    WmiObjects chassis;
    const HRESULT status =
        QueryWmi(kSuiteNamespace, L"SELECT * FROM Velk_ComputerSystemChassis", chassis, nullptr);
    if (FAILED(status)) return status;
    if (chassis.size() != 1) return kWbemFailed;
    return ReadText(*chassis.front(), L"__PATH", path) ? status : kWbemFailed;
}

CString& MakeFullObjectPath(CString& path, const CString& ns, const CString& relative) {
    CString server;
    WmiObjects classes;
    if (SUCCEEDED(QueryComputerSystemClass(classes)) && !classes.empty()) {
        ReadText(*classes.front(), L"__SERVER", server);
    }
    path = FormatText(L"\\\\%s\\%s:%s", server, ns, relative);
    return path;
}

}  // namespace velk
