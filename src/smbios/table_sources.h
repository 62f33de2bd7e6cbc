#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "common/heap_memory.h"

namespace velk {

/// A copy of the firmware's SMBIOS structure table.
struct SmbiosTableCopy {
    UniqueHeapMemory bytes;
    /// In 16 bits, as the entry point states it: of a larger table that WMI hands out, the length modulo
    /// 64 KiB.
    std::uint16_t length = 0;

    std::span<const std::uint8_t> Bytes() const noexcept {
        return {static_cast<const std::uint8_t*>(bytes.Get()), length};
    }
};

/// Room for a table of so many bytes, all zero; nothing without the memory.
inline std::optional<SmbiosTableCopy> MakeTableCopy(std::uint32_t size) noexcept {
    UniqueHeapMemory bytes = AllocateHeapMemory(size);
    if (!bytes) return std::nullopt;
    return SmbiosTableCopy{std::move(bytes), static_cast<std::uint16_t>(size)};
}

/// Whether the health driver can be opened. It speaks for the machine then, also when it fails afterwards.
bool IsHealthDriverPresent() noexcept;

/// The table from physical memory, by the entry point that 2.x firmware leaves there.
std::optional<SmbiosTableCopy> ReadTableThroughDriver() noexcept;

/// The table as WMI has it. The calling thread must have initialised COM. Throws std::bad_alloc.
std::optional<SmbiosTableCopy> ReadTableThroughWmi();

}  // namespace velk
