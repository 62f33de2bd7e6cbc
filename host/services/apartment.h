#pragma once

#include <stdexcept>

#include "common/platform.h"

namespace velkhost {

/// Membership of the current thread in the process's multi-threaded apartment, in which WMI hosts its
/// providers.
class ComApartment {
  public:
    /// Throws std::runtime_error on a thread that already is a single-threaded apartment.
    ComApartment() {
        if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {
            throw std::runtime_error("the thread cannot join the multi-threaded apartment");
        }
    }
    ~ComApartment() { ::CoUninitialize(); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};

}  // namespace velkhost
