#include "smbios/smbios_table.h"

#include <algorithm>

#include "smbios/slot_type_setting.h"
#include "smbios/structure_table.h"

namespace velk {

namespace {

constinit ModuleObject<SmbiosTable> g_smbiosTable;

CString Widen(std::string_view text) {
    const int length = static_cast<int>(text.size());
    const int size = ::MultiByteToWideChar(CP_THREAD_ACP, 0, text.data(), length, nullptr, 0);
    CString wide(static_cast<std::size_t>(size), L'\0');
    const int written = ::MultiByteToWideChar(CP_THREAD_ACP, 0, text.data(), length, wide.data(), size);
    // 0 for a text that cannot be converted: it keeps its place among the strings, as an empty one.
    wide.resize(static_cast<std::size_t>(written));
    return wide;
}

}  // namespace

/// Holds the table's lock from construction to destruction. Nobody takes it twice.
class SmbiosTable::Guard {
  public:
    explicit Guard(SmbiosTable& table) noexcept
        : mutex_(table.mutex_.Get()), substitute_(table.mutex_ ? nullptr : &table.substitute_) {
        if (substitute_ != nullptr) ::AcquireSRWLockExclusive(substitute_);
    }
    ~Guard() {
        if (substitute_ != nullptr) ::ReleaseSRWLockExclusive(substitute_);
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

  private:
    const KernelMutexGuard mutex_;
    SRWLOCK* const substitute_;
};

ModuleObject<SmbiosTable>& SmbiosTableObject() noexcept { return g_smbiosTable; }
SmbiosTable& Smbios() noexcept { return *g_smbiosTable.Get(); }

SmbiosTable::SmbiosTable() noexcept : mutex_(::CreateMutexW(nullptr, FALSE, nullptr)) {}

bool SmbiosTable::Load() {
    const Guard guard(*this);
    return LoadLocked();
}

bool SmbiosTable::LoadLocked() {
    loaded_.store(false, std::memory_order_release);
    copy_.reset();
    copy_ = IsHealthDriverPresent() ? ReadTableThroughDriver() : ReadTableThroughWmi();
    loaded_.store(copy_.has_value(), std::memory_order_release);
    return copy_.has_value();
}

bool SmbiosTable::FindStructure(std::uint8_t type, std::uint16_t occurrence, std::uint8_t* formatted,
                                std::uint8_t& length, std::vector<CString>& strings) {
    const Guard guard(*this);
    const std::optional<SmbiosStructure> structure = FindStructureOfType(Bytes(), type, occurrence);
    if (!structure) return false;

    length = static_cast<std::uint8_t>(std::min<std::size_t>(structure->formatted.size(), length));
    std::ranges::copy(structure->formatted.first(length), formatted);
    strings.assign(1, CString());
    for (const std::string_view text : StringsOf(*structure)) strings.push_back(Widen(text));
    return true;
}

std::uint32_t SmbiosTable::CountPciSlots() { return ReadSlots().value_or(SystemSlots{}).pciCount; }

std::optional<SystemSlots> SmbiosTable::ReadSlots() {
    // One lock around both, so that no other thread's Load comes between.
    const Guard guard(*this);
    if (!copy_ && !LoadLocked()) return std::nullopt;
    return ReadSystemSlots(Bytes(), ReadExpressTypes());
}

std::span<const std::uint8_t> SmbiosTable::Bytes() const noexcept {
    return copy_ ? copy_->Bytes() : std::span<const std::uint8_t>();
}

}  // namespace velk
