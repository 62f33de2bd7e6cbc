#pragma once

#include <cstdint>
#include <span>

#include "common/platform.h"

namespace velktest {

/// A copy of bytes that ends where memory ends: reading one byte further is an access violation.
class GuardedBytes {
  public:
    explicit GuardedBytes(std::span<const std::uint8_t> bytes);
    ~GuardedBytes();
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    std::span<const std::uint8_t> Get() const { return bytes_; }

  private:
    void* pages_;
    std::span<std::uint8_t> bytes_;
};

}  // namespace velktest
