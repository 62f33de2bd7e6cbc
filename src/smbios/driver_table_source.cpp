#include "common/handle.h"
#include "smbios/entry_point.h"
#include "smbios/smbios_table.h"
#include "smbios/table_sources.h"

namespace velk {

namespace {

constexpr wchar_t kDevice[] = L"\\\\.\\VkxHlth";
/// Reads physical memory: the input is the address in 32 bits, the size of the output the number of bytes.
/// Device type 0x7, function 0x855, buffered, any access.
constexpr DWORD kReadPhysicalMemory = 0x72154;

/// Where 2.x firmware leaves its entry point.
constexpr std::uint32_t kFirmwareAddress = 0xF0000;
constexpr std::uint32_t kFirmwareSize = 0x10000;

UniqueFile OpenDriver() noexcept {
    return UniqueFile(::CreateFileW(kDevice, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr));
}

}  // namespace

bool IsHealthDriverPresent() noexcept { return static_cast<bool>(OpenDriver()); }

bool SmbiosTable::ReadPhysical(std::uint32_t address, std::uint32_t length, void* output) noexcept {
    const UniqueFile driver = OpenDriver();
    if (!driver) return false;
    DWORD returned = 0;
    return ::DeviceIoControl(driver.Get(), kReadPhysicalMemory, &address, sizeof address, output, length,
                             &returned, nullptr) != FALSE;
}

std::optional<SmbiosTableCopy> ReadTableThroughDriver() noexcept {
    const UniqueHeapMemory firmware = AllocateHeapMemory(kFirmwareSize);
    if (!firmware || !SmbiosTable::ReadPhysical(kFirmwareAddress, kFirmwareSize, firmware.Get()))
        return std::nullopt;

    const auto entryPoint = FindEntryPoint({static_cast<const std::uint8_t*>(firmware.Get()), kFirmwareSize});
    if (!entryPoint) return std::nullopt;
    std::optional<SmbiosTableCopy> table = MakeTableCopy(entryPoint->tableLength);
    if (!table ||
        !SmbiosTable::ReadPhysical(entryPoint->tableAddress, entryPoint->tableLength, table->bytes.Get()))
        return std::nullopt;
    return table;
}

}  // namespace velk
