// The DLL's exports and nothing else.

#include "common/platform.h"
#include "common/runtime_tls_index.h"
#include "module/module.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            return velk::LoadModule(instance);
        case DLL_PROCESS_DETACH:
            // At the end of the process nothing is cleaned up: the other threads were killed wherever they
            // stood, and the locks and heaps that clean-up needs are as they left them.
            if (reserved != nullptr) return TRUE;
            velk::UnloadModule();
            velk::FreeRuntimeMemory();
            velk::FreeRuntimeTlsIndex();
            return TRUE;
        default:
            return TRUE;
    }
}

// COM calls these only while the DLL is loaded, and the module exists then.

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    return velk::Module()->GetClassObject(clsid, iid, object);
}

STDAPI DllCanUnloadNow() { return velk::Module()->CanUnloadNow(); }

STDAPI DllRegisterServer() { return velk::Module()->RegisterServer(); }

STDAPI DllUnregisterServer() { return velk::Module()->UnregisterServer(); }
