#include "support/fake_driver.h"

#include <algorithm>
#include <cstring>

#include "support/made_entry_point.h"

namespace velktest {

namespace {

FakeDriver* theDriver = nullptr;
decltype(&::CreateFileW) realOpen = nullptr;
decltype(&::CloseHandle) realClose = nullptr;

}  // namespace

FakeDriver::FakeDriver(HMODULE module)
    : openRedirect_(module, "CreateFileW", reinterpret_cast<void*>(&Open)),
      controlRedirect_(module, "DeviceIoControl", reinterpret_cast<void*>(&Control)),
      closeRedirect_(module, "CloseHandle", reinterpret_cast<void*>(&Close)) {
    realOpen = openRedirect_.Original<decltype(realOpen)>();
    realClose = closeRedirect_.Original<decltype(realClose)>();
    theDriver = this;
}

FakeDriver::~FakeDriver() { theDriver = nullptr; }

void FakeDriver::PutTable(const Bytes& table, std::uint32_t entryPointAddress) {
    constexpr std::uint32_t kTableAddress = 0x000E1234;
    Put(kTableAddress, table);
    Put(entryPointAddress,
        EntryPoint({.tableAddress = kTableAddress, .tableLength = static_cast<std::uint16_t>(table.size())}));
}

bool FakeDriver::AllClosed() const { return open_.empty(); }

HANDLE WINAPI FakeDriver::Open(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                               DWORD disposition, DWORD flags, HANDLE pattern) {
    if (velk::CString(name) != L"\\\\.\\VkxHlth") {
        return realOpen(name, access, share, security, disposition, flags, pattern);
    }
    FakeDriver& driver = *theDriver;
    driver.plainCalls = driver.plainCalls && access == (GENERIC_READ | GENERIC_WRITE) &&
                        share == (FILE_SHARE_READ | FILE_SHARE_WRITE) && disposition == OPEN_EXISTING &&
                        flags == 0;
    if (!driver.present) {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    ++driver.opened;
    driver.open_.push_back(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    return driver.open_.back();
}

BOOL WINAPI FakeDriver::Control(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                                DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped) {
    FakeDriver& driver = *theDriver;
    driver.plainCalls = driver.plainCalls && std::ranges::count(driver.open_, device) == 1 &&
                        code == 0x72154 && inputSize == 4 && returned != nullptr && overlapped == nullptr;
    std::uint32_t address = 0;
    std::memcpy(&address, input, sizeof address);
    driver.reads.push_back({address, outputSize});
    *returned = 0;  // not to be relied on
    if (std::ranges::count(driver.failing_, address) != 0) return FALSE;

    auto* const target = static_cast<std::uint8_t*>(output);
    std::fill_n(target, outputSize, std::uint8_t{0});
    for (const auto& [start, bytes] : driver.memory_) {
        for (std::uint32_t at = 0; at < bytes.size(); ++at) {
            const std::uint32_t offset = start + at - address;
            if (offset < outputSize) target[offset] = bytes[at];
        }
    }
    return TRUE;
}

BOOL WINAPI FakeDriver::Close(HANDLE handle) {
    std::erase(theDriver->open_, handle);
    return realClose(handle);
}

}  // namespace velktest
