#include "common/common_log.h"

#include <sddl.h>

#include <array>

#include "common/log_file.h"
#include "common/log_paths.h"

namespace velk {

namespace {

/// Denied to built-in guests; full access for local system, administrators and network service, the accounts
/// that WMI hosts providers under.
constexpr wchar_t kMutexSecurity[] = L"D:(D;OICI;GA;;;BG)(A;OICI;GA;;;SY)(A;OICI;GA;;;BA)(A;OICI;GA;;;NS)";

const wchar_t* LevelName(LONG level) noexcept {
    static constexpr std::array<const wchar_t*, 6> kNames = {L"N/A",         L"Debug",   L"Verbose",
                                                             L"Information", L"Warning", L"Error"};
    // A level from the registry can be any number.
    const bool named = level >= 0 && level < static_cast<LONG>(kNames.size());
    return named ? kNames[static_cast<std::size_t>(level)] : kNames[0];
}

UniqueHandle CreateFileMutex(const CString& pathBase) {
    UniqueLocalMemory descriptor;
    if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(kMutexSecurity, SDDL_REVISION_1,
                                                                descriptor.Put(), nullptr)) {
        return {};
    }
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, descriptor.Get(), FALSE};
    return UniqueHandle(
        ::CreateMutexW(&attributes, FALSE, (L"Global\\" + PathAsObjectName(pathBase)).c_str()));
}

/// A string of the module that this code is linked into; empty when it has no such string.
CString LoadModuleString(UINT id) {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(&LoadModuleString), &module);
    // With a length of 0 the call gives the address of the text inside the resource instead of a copy.
    const wchar_t* text = nullptr;
    const int length = ::LoadStringW(module, id, reinterpret_cast<wchar_t*>(&text), 0);
    return length > 0 ? CString(text, static_cast<std::size_t>(length)) : CString();
}

constinit ModuleObject<CCommonLog> theLog;

}  // namespace

CCommonLog* CommonLog() noexcept { return theLog.Get(); }

ModuleObject<CCommonLog>& CommonLogObject() noexcept { return theLog; }

DWORD CCommonLog::LogInit(const CString& baseName, const CString& moduleName) {
    level_ = kSilent;
    moduleName_ = moduleName;
    LogConfiguration configuration;
    // What could not be read has its default.
    ReadLogConfiguration(baseName, moduleName, configuration);

    if (!localMutex_) localMutex_.Reset(::CreateMutexW(nullptr, FALSE, nullptr));
    fileMutex_.Reset();
    if (configuration.folder.empty()) return ERROR_INVALID_PARAMETER;

    CString pathBase = configuration.folder + baseName;
    if (!OpenLogFile(pathBase)) {
        pathBase = DefaultLogFolder() + baseName;
        // The mask makes a success of every code that the system itself has: without a log file the module is
        // to work all the same.
        if (!OpenLogFile(pathBase)) return ::GetLastError() & 0x10000000;
    }

    level_ = configuration.level;
    fileMutex_ = CreateFileMutex(pathBase);
    if (!fileMutex_) {
        const DWORD error = ::GetLastError();
        pathBase_ = L"VelkCommonLog_MutexError";
        maxSize_ = 1024;
        return error;
    }
    baseName_ = baseName;
    pathBase_ = std::move(pathBase);
    maxSize_ = configuration.maxSize;
    if (!LetsThrough(kVerbose)) return ERROR_SUCCESS;
    return WriteStateLine(kVerbose, L"LogInit",
                          L"A logging interface is initialized (Module=\"%s\", Level=%s, size=%ld)");
}

DWORD CCommonLog::LogReset() {
    const KernelMutexGuard guard(localMutex_.Get());
    if (baseName_.empty() || moduleName_.empty()) return ERROR_SUCCESS;
    LogConfiguration configuration;
    ReadLogConfiguration(baseName_, moduleName_, configuration);
    if (configuration.folder.empty()) return ERROR_INVALID_PARAMETER;

    level_ = configuration.level;
    maxSize_ = configuration.maxSize;
    const CString pathBase = configuration.folder + baseName_;
    if (pathBase != pathBase_) {
        if (const DWORD error = MoveTo(pathBase); error != ERROR_SUCCESS) return error;
    }
    if (!LetsThrough(kInformation)) return ERROR_SUCCESS;
    return WriteStateLine(kInformation, L"LogReset",
                          L"A logging interface is updated (Module=\"%s\", Level=%s, size=%ld)");
}

DWORD CCommonLog::MoveTo(const CString& pathBase) {
    if (!OpenLogFile(pathBase)) return ::GetLastError();
    UniqueHandle mutex = CreateFileMutex(pathBase);
    if (!mutex) return ::GetLastError();
    // Taken once: whoever writes to the new file under its mutex is through before this log joins in.
    const KernelMutexGuard guard(mutex.Get());
    pathBase_ = pathBase;
    fileMutex_ = std::move(mutex);
    return ERROR_SUCCESS;
}

DWORD CCommonLog::WriteStateLine(LONG level, const wchar_t* method, const wchar_t* format) {
    return WriteLine(FormatText(L"%s!CCommonLog::%s", moduleName_, method), level,
                     FormatText(format, moduleName_, LevelName(level_), maxSize_));
}

void CCommonLog::SetFunctionName(const wchar_t* nameOrId) {
    functionName_ = IS_INTRESOURCE(nameOrId)
                        ? LoadModuleString(static_cast<UINT>(reinterpret_cast<ULONG_PTR>(nameOrId)))
                        : CString(nameOrId);
}

DWORD CCommonLog::WriteMessage(LONG level, const CString& message) {
    return WriteLine(functionName_.empty() ? CString() : moduleName_ + L"!" + functionName_, level, message);
}

DWORD CCommonLog::WriteLine(const CString& functionName, LONG level, const CString& message) {
    const KernelMutexGuard guard(fileMutex_.Get());
    UniqueFile file = OpenLogFile(pathBase_);
    if (!file) return ::GetLastError();
    RotateLogFile(pathBase_, maxSize_, file);
    if (!file) {
        // Rather one line too many in the old file than one lost.
        file = OpenLogFile(pathBase_);
        if (!file) return ::GetLastError();
    }

    text_ = functionName;
    if (!functionName.empty()) text_ += L"| ";
    text_ += message;
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    line_ = FormatText(L"%02d/%02d/%d %02d:%02d:%02d.%03d [%s] %s\r\n", now.wMonth, now.wDay, now.wYear,
                       now.wHour, now.wMinute, now.wSecond, now.wMilliseconds, LevelName(level), text_);
    return AppendToLogFile(file, line_);
}

}  // namespace velk
