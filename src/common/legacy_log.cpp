#include "common/legacy_log.h"

#include <algorithm>
#include <array>

#include "common/heap_memory.h"
#include "common/log_paths.h"
#include "common/registry.h"

namespace velk {

namespace {

constexpr DWORD kTrimSize = 200000;   // bytes at which the file is cut
constexpr DWORD kKeptSize = 100000;   // bytes at its end that the cut looks at
constexpr DWORD kLockTimeout = 1000;  // milliseconds; a stuck writer costs a line, not a hang

/// The longest path that the system knows, with its terminator.
constexpr UINT kLongPath = 32768;

const wchar_t* TypeName(CLegacyLog::Type type) noexcept {
    static constexpr std::array<const wchar_t*, 3> kNames = {L"Information", L"Warning", L"Error"};
    return kNames[static_cast<std::size_t>(type)];
}

/// Gives the semaphore's one count back.
class SemaphoreRelease {
  public:
    explicit SemaphoreRelease(HANDLE semaphore) noexcept : semaphore_(semaphore) {}
    ~SemaphoreRelease() {
        const LastErrorKeeper keeper;
        ::ReleaseSemaphore(semaphore_, 1, nullptr);
    }
    SemaphoreRelease(const SemaphoreRelease&) = delete;
    SemaphoreRelease& operator=(const SemaphoreRelease&) = delete;

  private:
    HANDLE semaphore_;
};

UniqueFile OpenShared(const CString& path, DWORD disposition) noexcept {
    return UniqueFile(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                                    FILE_FLAG_RANDOM_ACCESS, nullptr));
}

/// Cuts a file that has grown to kTrimSize down to whole lines of its last kKeptSize bytes.
DWORD Trim(const CString& path) noexcept {
    UniqueFile file = OpenShared(path, OPEN_ALWAYS);
    if (!file) return ::GetLastError();
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(file.Get(), &size)) return ::GetLastError();
    if (size.QuadPart < kTrimSize) return ERROR_SUCCESS;

    LARGE_INTEGER distance;
    distance.QuadPart = -static_cast<LONGLONG>(kKeptSize);
    if (!::SetFilePointerEx(file.Get(), distance, nullptr, FILE_END)) return ::GetLastError();
    const UniqueHeapMemory buffer = AllocateHeapMemory(kKeptSize);
    if (!buffer) return ERROR_NOT_ENOUGH_MEMORY;
    DWORD transferred = 0;
    if (!::ReadFile(file.Get(), buffer.Get(), kKeptSize, &transferred, nullptr)) return ::GetLastError();

    const char* const end = static_cast<const char*>(buffer.Get()) + kKeptSize;
    const char* kept = std::find(static_cast<const char*>(buffer.Get()), end, '\r');
    if (kept != end) ++kept;
    if (kept != end && *kept == '\n') ++kept;

    file = OpenShared(path, CREATE_ALWAYS);
    if (!file) return ::GetLastError();
    const DWORD keptSize = static_cast<DWORD>(end - kept);
    return ::WriteFile(file.Get(), kept, keptSize, &transferred, nullptr) ? ERROR_SUCCESS : ::GetLastError();
}

/// In the system's narrow code page; unlike the C runtime's conversion, what has no place there costs a
/// question mark and not the line.
std::string ToNarrow(const CString& text) {
    const int length = static_cast<int>(text.size());
    std::string narrow(static_cast<std::size_t>(::WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr,
                                                                      0, nullptr, nullptr)),
                       '\0');
    ::WideCharToMultiByte(CP_ACP, 0, text.data(), length, narrow.data(), static_cast<int>(narrow.size()),
                          nullptr, nullptr);
    return narrow;
}

}  // namespace

DWORD CLegacyLog::Configure() {
    CString fileName = WbemLogFolder(kLongPath) + L"velkwbems.log";
    DWORD level = 1;
    DWORD typeMask = 7;
    // The rights are more than reading needs: an account that may not write the key logs with the defaults.
    constexpr REGSAM kRights = KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_ENUMERATE_SUB_KEYS |
                               KEY_NOTIFY | READ_CONTROL;
    UniqueRegistryKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Velkor\\WBEM\\ServerLOGGING", 0, kRights,
                        key.Put()) == ERROR_SUCCESS &&
        ReadRegistryText(key.Get(), L"LOGFILENAME", fileName)) {
        ReadRegistryDword(key.Get(), L"LEVEL", level);
        ReadRegistryDword(key.Get(), L"TYPE", typeMask);
    }
    return Open(fileName, level, typeMask);
}

DWORD CLegacyLog::Open(const CString& fileName, DWORD level, DWORD typeMask) {
    fileName_ = fileName;
    level_ = level;
    typeMask_ = typeMask;
    if (fileName_.empty()) return ERROR_INVALID_PARAMETER;

    semaphore_.Reset(::CreateSemaphoreW(nullptr, 0, 1, PathAsObjectName(fileName_).c_str()));
    const DWORD error = ::GetLastError();
    if (!semaphore_) return error;
    // Only who made it opens it: every later release would let one more writer in.
    if (error != ERROR_ALREADY_EXISTS) ::ReleaseSemaphore(semaphore_.Get(), 1, nullptr);
    return ERROR_SUCCESS;
}

DWORD CLegacyLog::Write(Type type, DWORD level, const CString& message) {
    const DWORD typeBit = 1U << static_cast<unsigned>(type);
    if (level > level_ || (typeMask_ & typeBit) == 0) return ERROR_SUCCESS;

    const UniqueFile file = OpenShared(fileName_, OPEN_ALWAYS);
    if (!file) return ::GetLastError();
    switch (::WaitForSingleObject(semaphore_.Get(), kLockTimeout)) {
        case WAIT_OBJECT_0:
            break;
        case WAIT_TIMEOUT:
            return WAIT_TIMEOUT;
        default:
            return ::GetLastError();
    }
    const SemaphoreRelease release(semaphore_.Get());
    if (const DWORD error = Trim(fileName_); error != ERROR_SUCCESS) return error;
    return AppendLine(file, type, message);
}

DWORD CLegacyLog::AppendLine(const UniqueFile& file, Type type, const CString& message) const {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    if (!::SetFilePointerEx(file.Get(), {}, nullptr, FILE_END)) return ::GetLastError();
    const std::string line = ToNarrow(FormatText(
        L" [%02d/%02d/%d %02d:%02d:%02d:%03d] [%s] - %s\r\n", now.wMonth, now.wDay, now.wYear, now.wHour,
        now.wMinute, now.wSecond, now.wMilliseconds, TypeName(type), prefix_ + message));
    DWORD written = 0;
    return ::WriteFile(file.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr)
               ? ERROR_SUCCESS
               : ::GetLastError();
}

}  // namespace velk
