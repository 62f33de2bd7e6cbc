#pragma once

#include "common/handle.h"
#include "common/text.h"

namespace velk {

/// The older narrow-text log that the suite's server components share in one file. The file is kept below
/// 200,000 bytes by cutting off its head, and guarded across processes by a named semaphore.
///
/// Operations return a Win32 error code; they throw std::bad_alloc or std::length_error.
class CLegacyLog {
  public:
    enum class Type : unsigned { Information, Warning, Error };

    /// Text put before every message.
    void SetPrefix(const CString& prefix) { prefix_ = prefix; }

    /// Reads HKEY_LOCAL_MACHINE "Software\Velkor\WBEM\ServerLOGGING" and opens the log accordingly.
    DWORD Configure();

    /// Sets what is written where: levels up to `level`, and type n when bit n of `typeMask` is set. Makes
    /// the file's semaphore; ERROR_INVALID_PARAMETER for an empty file name.
    DWORD Open(const CString& fileName, DWORD level, DWORD typeMask);

    /// Writes one line; WAIT_TIMEOUT when another writer held the file for a second, and the line is lost.
    DWORD Write(Type type, DWORD level, const CString& message);

    /// The front-ends: printf-like as FormatText.
    template <class... Arguments>
    DWORD InfoLevel1(const wchar_t* format, const Arguments&... arguments) {
        return Write(Type::Information, 1, FormatText(format, arguments...));
    }
    template <class... Arguments>
    DWORD InfoLevel2(const wchar_t* format, const Arguments&... arguments) {
        return Write(Type::Information, 2, FormatText(format, arguments...));
    }
    template <class... Arguments>
    DWORD WarningLevel1(const wchar_t* format, const Arguments&... arguments) {
        return Write(Type::Warning, 1, FormatText(format, arguments...));
    }
    template <class... Arguments>
    DWORD WarningLevel2(const wchar_t* format, const Arguments&... arguments) {
        return Write(Type::Warning, 2, FormatText(format, arguments...));
    }
    template <class... Arguments>
    DWORD ErrorLevel1(const wchar_t* format, const Arguments&... arguments) {
        return Write(Type::Error, 1, FormatText(format, arguments...));
    }
    template <class... Arguments>
    DWORD ErrorLevel2(const wchar_t* format, const Arguments&... arguments) {
        return Write(Type::Error, 2, FormatText(format, arguments...));
    }

  private:
    DWORD AppendLine(const UniqueFile& file, Type type, const CString& message) const;

    UniqueHandle semaphore_;
    DWORD level_ = 1;
    DWORD typeMask_ = 7;
    CString fileName_;
    CString prefix_;
};

}  // namespace velk
