#include "common/log_paths.h"

#include <algorithm>

namespace velk {

CString WbemLogFolder(UINT bufferLength) {
    CString folder(bufferLength, L'\0');
    const UINT length = ::GetWindowsDirectoryW(folder.data(), bufferLength);
    folder.resize(length < bufferLength ? length : 0);
    return folder + L"\\system32\\wbem\\logs\\";
}

CString PathAsObjectName(const CString& path) {
    CString name = path;
    std::erase(name, L'\\');
    return ToUpper(std::move(name));
}

}  // namespace velk
