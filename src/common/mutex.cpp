#include "common/mutex.h"

#include "common/function_log.h"

namespace velk {

namespace {

constinit ModuleObject<CCommonMutex> theCommonMutex;

}  // namespace

CMutex::CMutex() {
    log_.SetPrefix(L"Mutex::");
    log_.Configure();
}

CMutex::~CMutex() {
    // Closed by hand, not by a UniqueHandle: a failure is to be reported.
    const HANDLE handle = handle_.load();
    if (handle != nullptr && !::CloseHandle(handle)) ReportFailure();
}

void CMutex::SetName(const CString& name) { name_ = L"Global\\wmi_" + name; }

bool CMutex::Create() noexcept {
    if (handle_.load() != nullptr) return true;
    UniqueHandle made(::CreateMutexW(nullptr, FALSE, name_.empty() ? nullptr : name_.c_str()));
    if (!made) {
        ReportFailure();
        return false;
    }
    // Of two first locks at once one makes the mutex, and both wait for that one.
    HANDLE none = nullptr;
    if (handle_.compare_exchange_strong(none, made.Get())) made.Detach();
    return true;
}

void CMutex::Lock() noexcept {
    // The mutex first. Of two locks of one name in this process, the thread that waits for the mutex then
    // holds nothing that the one with the mutex may come to need; and an abandoned mutex tells that the other
    // half was left behind, too.
    //
    // A thread that went on without the mutex, and locks once more, must not wait for it either: whoever has
    // got it since then waits for what this thread holds.
    const bool wanted = Create() && !inProcess_.IsHeldWithoutMutex();
    inProcess_.Lock(wanted && WaitForMutex());
}

bool CMutex::WaitForMutex() noexcept {
    const DWORD result = ::WaitForSingleObject(handle_.load(), INFINITE);
    if (result != WAIT_OBJECT_0) ReportFailure();
    // An abandoned mutex is held all the same: its list is rebuilt under every lock.
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

void CMutex::Unlock() noexcept {
    inProcess_.Unlock();
    const HANDLE handle = handle_.load();
    if (handle != nullptr && !::ReleaseMutex(handle)) ReportFailure();
}

void CMutex::ReportFailure() noexcept {
    const DWORD error = ::GetLastError();
    try {
        // One text for all four calls, with the wrong kind of object in it: what readers of these logs
        // search for.
        log_.ErrorLevel1(L"CreateSemaphore(Mutex) failed.  Last error:  %d", error);
    } catch (...) {
        // Out of memory: the line is lost, the caller goes on.
    }
}

CCommonMutex::~CCommonMutex() {
    if (handle_ != nullptr && !::CloseHandle(handle_)) {
        FunctionLog(L"CCommonMutex", L"~CCommonMutex")
            .Error(L"CloseHandle failed, error=0x%08x.", ::GetLastError());
    }
}

ModuleObject<CCommonMutex>& CommonMutexObject() noexcept { return theCommonMutex; }

}  // namespace velk
