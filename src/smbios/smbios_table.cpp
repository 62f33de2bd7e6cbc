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
    ::MultiByteToWideChar(CP_THREAD_ACP, 0, text.data(), length, wide.data(), size);
    return wide;
}

}  // namespace

ModuleObject<SmbiosTable>& SmbiosTableObject() noexcept { return g_smbiosTable; }
SmbiosTable& Smbios() noexcept { return *g_smbiosTable.Get(); }

SmbiosTable::SmbiosTable() noexcept : mutex_(::CreateMutexW(nullptr, FALSE, nullptr)) {}

bool SmbiosTable::Copy::Allocate(std::uint32_t size) noexcept {
    bytes = AllocateHeapMemory(size);
    length = static_cast<std::uint16_t>(size);
    return static_cast<bool>(bytes);
}

bool SmbiosTable::Load() {
    const KernelMutexGuard guard(mutex_.Get());
    loaded_.store(false, std::memory_order_release);
    copy_ = {};
    // A driver that is there speaks for the machine, also when it then fails.
    const bool read = IsDriverPresent() ? ReadThroughDriver(copy_) : ReadThroughWmi(copy_);
    loaded_.store(read, std::memory_order_release);
    return read;
}

bool SmbiosTable::FindStructure(std::uint8_t type, std::uint16_t occurrence, std::uint8_t* formatted,
                                std::uint8_t& length, std::vector<CString>& strings) {
    const KernelMutexGuard guard(mutex_.Get());
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
    const KernelMutexGuard guard(mutex_.Get());
    if (!IsLoaded() && !Load()) return std::nullopt;
    return ReadSystemSlots(Bytes(), ReadExpressTypes());
}

std::span<const std::uint8_t> SmbiosTable::Bytes() const noexcept {
    if (!IsLoaded()) return {};
    return {static_cast<const std::uint8_t*>(copy_.bytes.Get()), copy_.length};
}

}  // namespace velk
