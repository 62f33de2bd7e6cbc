#include "assoc/lock_recorder.h"

#include <map>

namespace velktest {

namespace {

LockRecorder* theRecorder = nullptr;
std::map<HANDLE, velk::CString> theNames;
HANDLE theLastWaitedFor = nullptr;

decltype(&::CreateMutexW) realCreate = nullptr;
decltype(&::WaitForSingleObject) realWait = nullptr;
decltype(&::ReleaseMutex) realRelease = nullptr;

void Record(const wchar_t* what, HANDLE mutex) {
    if (const auto known = theNames.find(mutex); known != theNames.end()) {
        theRecorder->events.push_back(what + known->second);
    }
}

HANDLE WINAPI RecordCreate(SECURITY_ATTRIBUTES* security, BOOL owned, const wchar_t* name) {
    const HANDLE made = realCreate(security, owned, name);
    theNames[made] = name == nullptr ? L"unnamed" : name;
    return made;
}

DWORD WINAPI RecordWait(HANDLE object, DWORD timeout) {
    const DWORD result = realWait(object, timeout);
    theLastWaitedFor = object;
    Record(L"+", object);
    return result;
}

BOOL WINAPI RecordRelease(HANDLE mutex) {
    Record(L"-", mutex);
    return realRelease(mutex);
}

}  // namespace

LockRecorder::LockRecorder()
    : create_("CreateMutexW", &RecordCreate),
      wait_("WaitForSingleObject", &RecordWait),
      release_("ReleaseMutex", &RecordRelease) {
    realCreate = create_.Original<decltype(realCreate)>();
    realWait = wait_.Original<decltype(realWait)>();
    realRelease = release_.Original<decltype(realRelease)>();
    theNames.clear();
    theRecorder = this;
}

LockRecorder::~LockRecorder() { theRecorder = nullptr; }

void LockRecorder::Name(velk::CMutex& mutex, const velk::CString& name) {
    mutex.Lock();
    theNames[theLastWaitedFor] = name;
    mutex.Unlock();
    events.clear();
}

}  // namespace velktest
