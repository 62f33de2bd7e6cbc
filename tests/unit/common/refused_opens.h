#pragma once

#include "common/platform.h"
#include "support/stand_ins.h"

namespace velktest {

/// While it lives the system opens some files, then refuses so many with an error, and opens all others.
class RefusedOpens {
  public:
    RefusedOpens(int before, int refusals, DWORD error) {
        next_ = 0;
        first_ = before;
        end_ = before + refusals;
        error_ = error;
        createFile_ = redirect_.Original<decltype(createFile_)>();
    }
    RefusedOpens(const RefusedOpens&) = delete;
    RefusedOpens& operator=(const RefusedOpens&) = delete;

    /// How many were tried.
    int Count() const { return next_; }

  private:
    static HANDLE WINAPI Open(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                              DWORD disposition, DWORD flags, HANDLE form) {
        const int number = next_++;
        if (number < first_ || number >= end_)
            return createFile_(name, access, share, security, disposition, flags, form);
        ::SetLastError(error_);
        return INVALID_HANDLE_VALUE;
    }

    inline static int next_ = 0;
    inline static int first_ = 0;
    inline static int end_ = 0;
    inline static DWORD error_ = ERROR_SUCCESS;
    inline static decltype(&::CreateFileW) createFile_ = nullptr;
    StandIn<decltype(&Open)> redirect_{"CreateFileW", &Open};
};

}  // namespace velktest
