#include "import_faults.h"

#include "common/platform.h"
// Needs the types of windows.h.
#include <sddl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "fault_plan.h"
#include "import_stand_ins.h"
#include "ledger.h"

namespace velktest {

namespace {

// The few that need more than the stand-ins that all others share.

#ifdef _MSC_VER
#define ReturnAddress() _ReturnAddress()
#else
#define ReturnAddress() __builtin_return_address(0)
#endif

std::vector<HANDLE> waitingThreads;

struct CreateThreadImport {
    static inline decltype(&::CreateThread) original = nullptr;

    static HANDLE WINAPI Call(SECURITY_ATTRIBUTES* security, SIZE_T stack, LPTHREAD_START_ROUTINE start,
                              void* parameter, DWORD flags, DWORD* id) {
        if (Faults().Fails("CreateThread")) {
            Faults().NoteFailure("CreateThread");
            ::SetLastError(kInjectedError);
            return nullptr;
        }
        const HANDLE thread = original(security, stack, start, parameter, flags | CREATE_SUSPENDED, id);
        if (thread == nullptr) return nullptr;
        HANDLE own = nullptr;
        const HANDLE process = ::GetCurrentProcess();
        ::DuplicateHandle(process, thread, process, &own, 0, FALSE, DUPLICATE_SAME_ACCESS);
        waitingThreads.push_back(own);
        Books().Add(Owned::kThread, thread);
        return thread;
    }
};

/// Where calls of malloc return to, and how often; while this is null they are not counted.
std::map<const void*, int>* mallocCallers = nullptr;
/// The one that is operator new. The others are the memory reserve, whose failure is none, and the compiler's
/// run-time making an exception: what happens without memory for that is tried by a MemoryLimit.
const void* operatorNew = nullptr;

struct MallocImport {
    static inline decltype(&::malloc) original = nullptr;

    static void* Call(std::size_t size) {
        const void* const caller = ReturnAddress();
        if (mallocCallers != nullptr) ++(*mallocCallers)[caller];
        if (caller == operatorNew && Faults().Fails(kOperatorNew)) {
            Faults().NoteFailure(kOperatorNew);
            return nullptr;
        }
        void* const block = original(size);
        if (block != nullptr) Books().Add(Owned::kMemory, block);
        return block;
    }
};

/// Of the run-time alone, as calloc is.
struct ReallocImport {
    static inline decltype(&::realloc) original = nullptr;

    static void* Call(void* old, std::size_t size) {
        if (old != nullptr) Books().Remove(Owned::kMemory, old);
        void* const block = original(old, size);
        if (block != nullptr) Books().Add(Owned::kMemory, block);
        return block;
    }
};

struct CallocImport {
    static inline decltype(&::calloc) original = nullptr;

    static void* Call(std::size_t count, std::size_t size) {
        void* const block = original(count, size);
        if (block != nullptr) Books().Add(Owned::kMemory, block);
        return block;
    }
};

/// The one text that the module shows people; thousands of them help nobody.
struct FputwsImport {
    static inline decltype(&::fputws) original = nullptr;

    static int Call(const wchar_t*, FILE*) {
        if (!Faults().Fails("fputws")) return 0;
        Faults().NoteFailure("fputws");
        return WEOF;
    }
};

/// The thread does not return from the call.
struct FreeLibraryAndExitThreadImport {
    static inline decltype(&::FreeLibraryAndExitThread) original = nullptr;

    static void WINAPI Call(HMODULE module, DWORD code) {
        Books().Remove(Owned::kLibrary, module);
        original(module, code);
        std::abort();
    }
};

/// The TLS index that GCC's thread library takes at the first exception. The module frees it at its unload,
/// and the library does not know: where the module's own unload code is called by hand and the image stays,
/// it is kept until the image has gone.
std::vector<DWORD> tlsIndexes;

struct TlsAllocImport {
    static inline decltype(&::TlsAlloc) original = nullptr;

    static DWORD WINAPI Call() { return tlsIndexes.emplace_back(original()); }
};

struct TlsFreeImport {
    static inline decltype(&::TlsFree) original = nullptr;

    static BOOL WINAPI Call(DWORD) { return TRUE; }
};

/// Says what was going on before the process dies.
struct AbortImport {
    static inline decltype(&::abort) original = nullptr;

    static void Call() {
        std::fprintf(stderr, "abort() after %s failed (call %zu)\n", Faults().FirstFault(), Faults().Calls());
        std::fflush(stderr);
        original();
    }
};

struct Row {
    const char* name;
    void* standIn;
    void** original;
};

template <class StandIn>
Row Special(const char* name) {
    return {name, reinterpret_cast<void*>(&StandIn::Call), reinterpret_cast<void**>(&StandIn::original)};
}

template <CallName name, class Function, std::intptr_t failure = 0, DWORD error = kInjectedError,
          class Booking = Nothing>
Row Fails() {
    using Stand = Import<name, Function, failure, error, Booking>;
    return {name.text, reinterpret_cast<void*>(&Stand::Call), reinterpret_cast<void**>(&Stand::original)};
}

/// Answers a Win32 error code or an HRESULT.
template <CallName name, class Function, std::intptr_t failure, class Booking = Nothing>
Row Answers() {
    return Fails<name, Function, failure, ERROR_SUCCESS, Booking>();
}

constexpr std::intptr_t kMinusOne = -1;

std::vector<Row> Table() {
    using enum Owned;
    return {
        // Memory.
        Special<MallocImport>("malloc"),
        Special<CallocImport>("calloc"),
        Special<ReallocImport>("realloc"),
        Fails<"free", decltype(::free), 0, ERROR_SUCCESS, Takes<kMemory>>(),
        Fails<"HeapAlloc", decltype(::HeapAlloc), 0, ERROR_SUCCESS, Returns<kHeap>>(),
        Fails<"HeapFree", decltype(::HeapFree), 0, kInjectedError, Takes<kHeap, 2>>(),
        Fails<"LocalFree", decltype(::LocalFree), 1, kInjectedError, Takes<kLocalMemory>>(),
        // Kernel objects.
        Fails<"CloseHandle", decltype(::CloseHandle), 0, kInjectedError, TakesHandle>(),
        Fails<"CreateMutexW", decltype(::CreateMutexW), 0, kInjectedError, Returns<kMutex>>(),
        Fails<"ReleaseMutex", decltype(::ReleaseMutex), 0, kInjectedError, GivesBack>(),
        Fails<"CreateSemaphoreW", decltype(::CreateSemaphoreW), 0, kInjectedError, Returns<kSemaphore>>(),
        Fails<"ReleaseSemaphore", decltype(::ReleaseSemaphore), 0, kInjectedError, GivesBack>(),
        Fails<"WaitForSingleObject", decltype(::WaitForSingleObject), 0xFFFFFFFF>(),
        Fails<"ConvertStringSecurityDescriptorToSecurityDescriptorW",
              decltype(::ConvertStringSecurityDescriptorToSecurityDescriptorW), 0, kInjectedError,
              Fills<kLocalMemory, 2>>(),
        Special<CreateThreadImport>("CreateThread"),
        Special<FreeLibraryAndExitThreadImport>("FreeLibraryAndExitThread"),
        // Files and devices.
        Fails<"CreateFileW", decltype(::CreateFileW), kMinusOne, kInjectedError, Returns<kFile>>(),
        Fails<"DeleteFileW", decltype(::DeleteFileW)>(),
        Fails<"MoveFileW", decltype(::MoveFileW)>(),
        Fails<"GetFileSize", decltype(::GetFileSize), 0xFFFFFFFF>(),
        Fails<"GetFileSizeEx", decltype(::GetFileSizeEx)>(),
        Fails<"SetFilePointerEx", decltype(::SetFilePointerEx)>(),
        Fails<"ReadFile", decltype(::ReadFile)>(),
        Fails<"WriteFile", decltype(::WriteFile)>(),
        Fails<"DeviceIoControl", decltype(::DeviceIoControl)>(),
        Fails<"GetWindowsDirectoryW", decltype(::GetWindowsDirectoryW)>(),
        Special<FputwsImport>("fputws"),
        // Modules and resources.
        Fails<"LoadLibraryW", decltype(::LoadLibraryW), 0, kInjectedError, Returns<kLibrary>>(),
        Fails<"FreeLibrary", decltype(::FreeLibrary), 0, kInjectedError, Takes<kLibrary>>(),
        Fails<"GetModuleHandleW", decltype(::GetModuleHandleW)>(),
        Fails<"GetModuleHandleExW", decltype(::GetModuleHandleExW), 0, kInjectedError, Fills<kLibrary, 2>>(),
        Fails<"GetModuleFileNameW", decltype(::GetModuleFileNameW)>(),
        Fails<"GetProcAddress", decltype(::GetProcAddress)>(),
        Fails<"FindResourceW", decltype(::FindResourceW)>(),
        Fails<"FindResourceExW", decltype(::FindResourceExW)>(),
        Fails<"LoadResource", decltype(::LoadResource)>(),
        Fails<"LockResource", decltype(::LockResource)>(),
        Fails<"SizeofResource", decltype(::SizeofResource)>(),
        Fails<"LoadStringW", decltype(::LoadStringW)>(),
        // The machine.
        Fails<"GetComputerNameExW", decltype(::GetComputerNameExW)>(),
        Fails<"GetTimeZoneInformation", decltype(::GetTimeZoneInformation), 0xFFFFFFFF>(),
        Fails<"SetupDiGetClassDevsW", decltype(::SetupDiGetClassDevsW), kMinusOne, kInjectedError,
              Returns<kDeviceSet>>(),
        Fails<"SetupDiEnumDeviceInfo", decltype(::SetupDiEnumDeviceInfo)>(),
        Fails<"SetupDiGetDeviceRegistryPropertyW", decltype(::SetupDiGetDeviceRegistryPropertyW)>(),
        Fails<"SetupDiDestroyDeviceInfoList", decltype(::SetupDiDestroyDeviceInfoList), 0, kInjectedError,
              Takes<kDeviceSet>>(),
        // Text.
        Fails<"CompareStringW", decltype(::CompareStringW)>(),
        Fails<"MultiByteToWideChar", decltype(::MultiByteToWideChar)>(),
        Fails<"WideCharToMultiByte", decltype(::WideCharToMultiByte)>(),
        // Registry.
        Answers<"RegOpenKeyExW", decltype(::RegOpenKeyExW), kInjectedError, Fills<kRegistryKey, 4>>(),
        Answers<"RegCreateKeyExW", decltype(::RegCreateKeyExW), kInjectedError, Fills<kRegistryKey, 7>>(),
        Answers<"RegCloseKey", decltype(::RegCloseKey), kInjectedError, Takes<kRegistryKey>>(),
        Answers<"RegDeleteKeyW", decltype(::RegDeleteKeyW), kInjectedError>(),
        Answers<"RegDeleteTreeW", decltype(::RegDeleteTreeW), kInjectedError>(),
        Answers<"RegDeleteValueW", decltype(::RegDeleteValueW), kInjectedError>(),
        Answers<"RegEnumKeyExW", decltype(::RegEnumKeyExW), kInjectedError>(),
        Answers<"RegEnumValueW", decltype(::RegEnumValueW), kInjectedError>(),
        Answers<"RegQueryInfoKeyW", decltype(::RegQueryInfoKeyW), kInjectedError>(),
        Answers<"RegQueryValueExW", decltype(::RegQueryValueExW), kInjectedError>(),
        Answers<"RegSetValueExW", decltype(::RegSetValueExW), kInjectedError>(),
        // COM and Automation.
        Answers<"CoCreateInstance", decltype(::CoCreateInstance), kInjected>(),
        Answers<"CoGetClassObject", decltype(::CoGetClassObject), kInjected>(),
        Answers<"CoInitializeEx", decltype(::CoInitializeEx), kInjected, JoinsApartment>(),
        Fails<"CoUninitialize", decltype(::CoUninitialize), 0, ERROR_SUCCESS, LeavesApartment>(),
        Fails<"SysAllocStringLen", decltype(::SysAllocStringLen), 0, ERROR_SUCCESS, Returns<kText>>(),
        Fails<"SysFreeString", decltype(::SysFreeString), 0, ERROR_SUCCESS, Takes<kText>>(),
        Answers<"VariantClear", decltype(::VariantClear), kInjected, TakesVariant>(),
        Fails<"SafeArrayCreate", decltype(::SafeArrayCreate), 0, ERROR_SUCCESS, Returns<kArray>>(),
        Answers<"SafeArrayDestroy", decltype(::SafeArrayDestroy), kInjected, TakesArray>(),
        Answers<"SafeArrayAccessData", decltype(::SafeArrayAccessData), kInjected>(),
        Answers<"SafeArrayUnaccessData", decltype(::SafeArrayUnaccessData), kInjected, GivesBack>(),
        Answers<"SafeArrayGetElement", decltype(::SafeArrayGetElement), kInjected, FillsElement>(),
        Answers<"SafeArrayGetDim", decltype(::SafeArrayGetDim), 0>(),
        Answers<"SafeArrayGetLBound", decltype(::SafeArrayGetLBound), kInjected>(),
        Answers<"SafeArrayGetUBound", decltype(::SafeArrayGetUBound), kInjected>(),
        Answers<"SafeArrayGetVartype", decltype(::SafeArrayGetVartype), kInjected>(),
        Answers<"LoadTypeLibEx", decltype(::LoadTypeLibEx), kInjected>(),
        Answers<"RegisterTypeLib", decltype(::RegisterTypeLib), kInjected>(),
        Answers<"UnRegisterTypeLib", decltype(::UnRegisterTypeLib), kInjected>(),
        Answers<"QueryPathOfRegTypeLib", decltype(::QueryPathOfRegTypeLib), kInjected, Fills<kText, 4>>(),
        Special<TlsAllocImport>("TlsAlloc"),
        Special<TlsFreeImport>("TlsFree"),
        Special<AbortImport>("abort"),
    };
}

}  // namespace

ImportFaults::ImportFaults(HMODULE module) {
    for (const Row& row : Table()) {
        if (!velkhost::ImportRedirect::Imports(module, row.name)) continue;
        redirects_.emplace_back(module, row.name, row.standIn);
        *row.original = redirects_.back().Original<void*>();
    }
}

ImportFaults::~ImportFaults() {
    // Each back to what it found: the last first.
    while (!redirects_.empty()) redirects_.pop_back();
}

void ImportFaults::FindOperatorNew(const std::function<void()>& allocates) {
    std::map<const void*, int> callers;
    mallocCallers = &callers;
    allocates();
    mallocCallers = nullptr;
    operatorNew =
        std::ranges::max_element(callers, {}, [](const auto& caller) { return caller.second; })->first;
}

void ImportFaults::FreeTlsIndexes() {
    for (const DWORD index : std::exchange(tlsIndexes, {})) ::TlsFree(index);
}

void ImportFaults::RunThreads() {
    for (const HANDLE thread : std::exchange(waitingThreads, {})) {
        ::ResumeThread(thread);
        ::WaitForSingleObject(thread, INFINITE);
        ::CloseHandle(thread);
    }
}

std::set<std::string> InjectedImports() {
    std::set<std::string> names;
    for (const Row& row : Table()) names.insert(row.name);
    return names;
}

}  // namespace velktest
