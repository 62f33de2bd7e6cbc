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

/// Keeps the process's multi-threaded apartment alive, whatever threads belong to it.
class KeptApartment {
  public:
    /// Throws std::runtime_error.
    KeptApartment() {
        if (FAILED(::CoIncrementMTAUsage(&cookie_)))
            throw std::runtime_error("the multi-threaded apartment cannot be kept");
    }
    ~KeptApartment() { ::CoDecrementMTAUsage(cookie_); }
    KeptApartment(const KeptApartment&) = delete;
    KeptApartment& operator=(const KeptApartment&) = delete;

  private:
    CO_MTA_USAGE_COOKIE cookie_ = nullptr;
};

}  // namespace velkhost
