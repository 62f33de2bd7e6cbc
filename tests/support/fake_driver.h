#pragma once

#include <map>
#include <optional>
#include <vector>

#include "host/import_redirect.h"
#include "support/smbios_builder.h"

namespace velktest {

/// Stands in for the health driver of a module over a made-up physical memory. While it lives the device is
/// there, unless `present` says otherwise; other files open as ever. One at a time.
class FakeDriver {
  public:
    explicit FakeDriver(HMODULE module = ::GetModuleHandleW(nullptr));
    ~FakeDriver();

    /// Puts bytes somewhere in memory; all else reads as zero.
    void Put(std::uint32_t address, const Bytes& bytes) { memory_[address] = bytes; }
    /// Puts a table into memory and an entry point for it into the firmware's range.
    void PutTable(const Bytes& table, std::uint32_t entryPointAddress = 0xF0040);
    /// Lets reads from an address fail.
    void Fail(std::uint32_t address) { failing_.push_back(address); }

    /// A request to read.
    struct Read {
        std::uint32_t address;
        std::uint32_t size;
        bool operator==(const Read&) const = default;
    };

    bool present = true;
    std::vector<Read> reads;
    int opened = 0;
    bool plainCalls = true;  ///< all opens and requests had the form that the driver asks for
    /// Whether every handle that was handed out has been closed.
    bool AllClosed() const;

  private:
    static HANDLE WINAPI Open(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                              DWORD disposition, DWORD flags, HANDLE pattern);
    static BOOL WINAPI Control(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                               DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped);
    static BOOL WINAPI Close(HANDLE handle);

    std::map<std::uint32_t, Bytes> memory_;
    std::vector<std::uint32_t> failing_;
    std::vector<HANDLE> open_;
    velkhost::ImportRedirect openRedirect_, controlRedirect_, closeRedirect_;
};

}  // namespace velktest
