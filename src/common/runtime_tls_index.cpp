#include "common/runtime_tls_index.h"

#include <atomic>

#include "common/platform.h"

namespace {

constinit std::atomic<DWORD> takenIndex = TLS_OUT_OF_INDEXES;

}  // namespace

#ifdef __GLIBCXX__

namespace {

DWORD WINAPI TakeIndex();

}  // namespace

// The linker (--wrap) gives what is linked into this module the second of these for the import of TlsAlloc,
// and keeps the import itself under the name of the first. Of all that is linked in, the thread library alone
// allocates an index, and one only.
extern "C" {
extern DWORD(WINAPI* __real___imp_TlsAlloc)();
extern DWORD(WINAPI* const __wrap___imp_TlsAlloc)();
DWORD(WINAPI* const __wrap___imp_TlsAlloc)() = &TakeIndex;
}

namespace {

DWORD WINAPI TakeIndex() {
    const DWORD index = __real___imp_TlsAlloc();
    takenIndex.store(index);
    return index;
}

}  // namespace

#endif

namespace velk {

void FreeRuntimeTlsIndex() noexcept {
    const DWORD index = takenIndex.exchange(TLS_OUT_OF_INDEXES);
    if (index != TLS_OUT_OF_INDEXES) ::TlsFree(index);
}

}  // namespace velk
