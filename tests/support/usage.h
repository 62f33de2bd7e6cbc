#pragma once

#include <cstddef>
#include <string>

#include "common/platform.h"

namespace velktest {

/// What this process uses of the machine.
struct Usage {
    DWORD handles = 0;
    DWORD threads = 0;
    std::size_t heapBytes = 0;      ///< handed out by the heaps of the process and not given back
    std::size_t residentBytes = 0;  ///< of memory, with all programs and libraries

    /// Throws std::runtime_error when the system does not tell.
    static Usage Now();
    /// The larger of both in each.
    Usage operator|(const Usage& other) const;
    std::string Text() const;
};

/// What Windows grants a host of WMI providers before it ends it (the defaults of the host quotas' class
/// __ProviderHostQuotaConfiguration).
inline constexpr Usage kHostQuota = {4096, 256, 512 << 20, 512 << 20};

}  // namespace velktest
