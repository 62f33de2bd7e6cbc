// velkhost.dll, the host as an in-process COM server: its exports and nothing else.

#include "host/com/com_object.h"
#include "host/server/registration.h"
#include "host/server/server.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    return velkhost::GuardedCall(
        [&] { return velkhost::Server::Instance().GetClassObject(clsid, iid, object); });
}

STDAPI DllCanUnloadNow() {
    return velkhost::GuardedCall([] { return velkhost::Server::Instance().CanUnloadNow(); });
}

STDAPI DllRegisterServer() {
    return velkhost::GuardedCall([] { return velkhost::RegisterServer(); });
}

STDAPI DllUnregisterServer() {
    return velkhost::GuardedCall([] { return velkhost::UnregisterServer(); });
}
