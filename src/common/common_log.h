#pragma once

#include <atomic>

#include "common/handle.h"
#include "common/log_configuration.h"
#include "common/module_object.h"
#include "common/text.h"

namespace velk {

/// The module's text log: UTF-16 lines without a byte-order mark in a file that other modules of the suite
/// write too. The file is opened and closed around every line, guarded by a machine-wide mutex and rotated to
/// one old generation.
///
/// Callers hold LocalMutex() around SetFunctionName and a front-end; FunctionLog does that for them. All
/// operations throw std::bad_alloc or std::length_error, and return a Win32 error code where they return one.
class CCommonLog {
  public:
    /// Opens the log `baseName` where the registry says, in the name of the module `moduleName`. A log file
    /// that cannot be opened leaves the log silent.
    DWORD LogInit(const CString& baseName, const CString& moduleName);

    /// Applies what changed in the registry since LogInit. A new folder that cannot be used is an error and
    /// leaves the old one in use. Does nothing before a successful LogInit.
    DWORD LogReset();

    /// Names the function that the next lines come from: a text, or a string resource of the module given as
    /// an ID below 0x10000 (MAKEINTRESOURCEW).
    void SetFunctionName(const wchar_t* nameOrId);

    /// The front-ends: printf-like as FormatText, and formatted only when the configured level lets the line
    /// through.
    template <class... Arguments>
    DWORD LogVerbose(const wchar_t* format, const Arguments&... arguments) {
        return LogAt(kVerbose, format, arguments...);
    }
    template <class... Arguments>
    DWORD LogInformation(const wchar_t* format, const Arguments&... arguments) {
        return LogAt(kInformation, format, arguments...);
    }
    template <class... Arguments>
    DWORD LogError(const wchar_t* format, const Arguments&... arguments) {
        return LogAt(kError, format, arguments...);
    }

    /// Writes one line, whatever the configured level. `functionName` stands in front of the message unless
    /// it is empty.
    DWORD WriteLine(const CString& functionName, LONG level, const CString& message);

    /// The levels that lines have.
    static constexpr LONG kVerbose = 2;
    static constexpr LONG kInformation = 3;
    static constexpr LONG kError = 5;

    /// Whether lines of a level are written. May be asked without LocalMutex(): to a caller that comes while
    /// the level is being changed both answers are right.
    bool LetsThrough(LONG level) const noexcept { return level_.load(std::memory_order_relaxed) <= level; }

    /// The in-process mutex of the calling convention; null before LogInit.
    HANDLE LocalMutex() const noexcept { return localMutex_.Get(); }

  private:
    static constexpr LONG kSilent = 6;  // above every level that a line can have

    template <class... Arguments>
    DWORD LogAt(LONG level, const wchar_t* format, const Arguments&... arguments) {
        return LetsThrough(level) ? WriteMessage(level, FormatText(format, arguments...)) : ERROR_SUCCESS;
    }
    DWORD WriteMessage(LONG level, const CString& message);
    DWORD WriteStateLine(LONG level, const wchar_t* method, const wchar_t* format);
    DWORD MoveTo(const CString& pathBase);

    std::atomic<LONG> level_ = kSilent;  ///< also read without a lock
    LONG maxSize_ = 0x200000;
    CString baseName_;
    CString pathBase_;
    CString moduleName_;
    CString functionName_;
    UniqueHandle fileMutex_;
    UniqueHandle localMutex_;
    // The line being written and its text; touched with fileMutex_ held alone.
    CString line_;
    CString text_;
};

/// The process-wide log, or null when the module has none (before its load code and after its unload code).
CCommonLog* CommonLog() noexcept;

/// Where the process-wide log lives: for the module's load and unload code.
ModuleObject<CCommonLog>& CommonLogObject() noexcept;

}  // namespace velk
