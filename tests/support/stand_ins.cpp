#include "support/stand_ins.h"

#include <cwchar>

namespace velktest {

namespace {

velk::CString& WindowsDirectory() {
    static velk::CString path;
    return path;
}

void WINAPI GiveFixedTime(SYSTEMTIME* time) { *time = {2026, 3, 6, 7, 9, 5, 2, 4}; }

UINT WINAPI GiveWindowsDirectory(wchar_t* buffer, UINT size) {
    const velk::CString& path = WindowsDirectory();
    const UINT length = static_cast<UINT>(path.size());
    if (size <= length) return length + 1;
    std::wmemcpy(buffer, path.c_str(), path.size() + 1);
    return length;
}

HRSRC WINAPI FindNoResource(HMODULE, LPCWSTR, LPCWSTR, WORD) { return nullptr; }

BOOL WINAPI RefuseToWrite(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*) {
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

}  // namespace

FixedLocalTime::FixedLocalTime() : redirect_("GetLocalTime", &GiveFixedTime) {}

FakeWindowsDirectory::FakeWindowsDirectory(const velk::CString& path)
    : redirect_("GetWindowsDirectoryW", &GiveWindowsDirectory) {
    WindowsDirectory() = path;
}

NoStringTable::NoStringTable() : redirect_("FindResourceExW", &FindNoResource) {}

FullDisk::FullDisk() : redirect_("WriteFile", &RefuseToWrite) {}

}  // namespace velktest
