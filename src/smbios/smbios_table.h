#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "common/handle.h"
#include "common/module_object.h"
#include "common/platform.h"
#include "common/text.h"
#include "smbios/system_slot.h"
#include "smbios/table_sources.h"

namespace velk {

/// The process-wide copy of the firmware's SMBIOS structure table, read at the first need and kept. Safe to
/// call from every thread; the calling thread must have initialised COM where the table may have to be
/// loaded.
class SmbiosTable {
  public:
    SmbiosTable() noexcept;
    SmbiosTable(const SmbiosTable&) = delete;
    SmbiosTable& operator=(const SmbiosTable&) = delete;

    /// Whether a copy is held. Does not wait for the lock.
    bool IsLoaded() const noexcept { return loaded_.load(std::memory_order_acquire); }

    /// Discards the copy and reads afresh: through the health driver when it can be opened, whatever happens
    /// then, else through WMI. Returns whether a copy is held now. Throws std::bad_alloc.
    bool Load();

    // One structure at a time, for whoever wants other structures than slots. The slot lists read all slots
    // at once, under one lock: ReadSlots.

    /// The structure of a type with the given 0-based place among those of its type; false when there is none
    /// or no table is loaded. `length` is the capacity of `formatted` in bytes going in and the number of
    /// bytes copied coming out: the whole formatted area, or as much of it as there is room for. Element k of
    /// `strings` is the structure's string number k, and element 0 is empty. Throws std::bad_alloc.
    bool FindStructure(std::uint8_t type, std::uint16_t occurrence, std::uint8_t* formatted,
                       std::uint8_t& length, std::vector<CString>& strings);

    /// How many PCI slots the table describes; loads it if need be, and answers 0 when that fails. Throws
    /// std::bad_alloc.
    std::uint32_t CountPciSlots();

    /// All slot structures in one reading, for callers that look for many slot numbers; loads the table if
    /// need be. Nothing when that fails, which is not the same as a table without slots: to ask IsLoaded
    /// afterwards would be to ask about another moment. Which types are PCI slots is read from the settings
    /// on each call, and stands in what is handed out. Throws std::bad_alloc.
    std::optional<SystemSlots> ReadSlots();

    /// Copies physical memory by the health driver.
    static bool ReadPhysical(std::uint32_t address, std::uint32_t length, void* output) noexcept;

  private:
    class Guard;

    // Called with the lock held.
    bool LoadLocked();
    /// The copy's bytes; none while nothing is loaded.
    std::span<const std::uint8_t> Bytes() const noexcept;

    UniqueHandle mutex_;                 ///< guards everything but the reading of loaded_
    SRWLOCK substitute_ = SRWLOCK_INIT;  ///< does so where the system refused the mutex
    std::optional<SmbiosTableCopy> copy_;
    std::atomic<bool> loaded_ = false;  ///< whether copy_ holds one
};

/// Where the module's one table lives: for the module's load and unload code.
ModuleObject<SmbiosTable>& SmbiosTableObject() noexcept;

/// The module's one table. It exists for as long as the module is loaded.
SmbiosTable& Smbios() noexcept;

}  // namespace velk
