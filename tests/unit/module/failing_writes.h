#pragma once

#include "common/platform.h"
#include "support/stand_ins.h"

namespace velktest {

/// Lets so many writes of registry values succeed and the next one fail with an error. That one alone:
/// undoing must not be hindered. One at a time.
class FailingWrite {
  public:
    FailingWrite(int writesBefore, LSTATUS error) {
        left_ = writesBefore;
        error_ = error;
    }

  private:
    static LSTATUS WINAPI SetValue(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                                   DWORD size) {
        static const auto real = reinterpret_cast<decltype(&::RegSetValueExW)>(
            reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "RegSetValueExW")));
        return left_-- == 0 ? error_ : real(key, name, reserved, type, data, size);
    }

    static inline int left_ = 0;
    static inline LSTATUS error_ = ERROR_SUCCESS;
    StandIn<decltype(&SetValue)> redirect_{"RegSetValueExW", &SetValue};
};

}  // namespace velktest
