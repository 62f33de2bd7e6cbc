#pragma once

#include "common/common_log.h"
#include "common/memory_reserve.h"

namespace velk {

/// How every site writes to the process-wide log: names the function as class, two colons and method, and
/// writes one line, all under the log's in-process mutex. Never throws, keeps GetLastError(), and is silent
/// without a log.
class FunctionLog {
  public:
    /// Both texts must outlive the object.
    FunctionLog(const wchar_t* className, const wchar_t* method) noexcept
        : className_(className), method_(method) {}

    template <class... Arguments>
    void Verbose(const wchar_t* format, const Arguments&... arguments) const noexcept {
        Write(CCommonLog::kVerbose, [&](CCommonLog& log) { log.LogVerbose(format, arguments...); });
    }
    template <class... Arguments>
    void Information(const wchar_t* format, const Arguments&... arguments) const noexcept {
        Write(CCommonLog::kInformation, [&](CCommonLog& log) { log.LogInformation(format, arguments...); });
    }
    template <class... Arguments>
    void Error(const wchar_t* format, const Arguments&... arguments) const noexcept {
        Write(CCommonLog::kError, [&](CCommonLog& log) { log.LogError(format, arguments...); });
    }

  private:
    template <class FrontEnd>
    void Write(LONG level, FrontEnd frontEnd) const noexcept {
        CCommonLog* const log = CommonLog();
        // A log without its mutex was never initialised: silent anyway, and not safe to touch from here.
        if (log == nullptr || log->LocalMutex() == nullptr) return;
        // Most lines are kept back by the level. They need not queue behind those that are being written: to
        // take the mutex and give it back costs more than the rest of what is done for a record.
        if (!log->LetsThrough(level)) return;
        const LastErrorKeeper keeper;
        RefillMemoryReserve();
        try {
            const KernelMutexGuard guard(log->LocalMutex());
            NameFunction(*log);
            frontEnd(*log);
        } catch (...) {
            // Out of memory: the line is lost, the provider goes on.
        }
    }
    void NameFunction(CCommonLog& log) const;

    const wchar_t* className_;
    const wchar_t* method_;
};

}  // namespace velk
