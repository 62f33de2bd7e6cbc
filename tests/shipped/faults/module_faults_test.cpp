// Every call that the shipped DLL makes when it is loaded, unloaded, registered and unregistered fails once.

#include <gtest/gtest.h>

#include "fault_bench.h"
#include "fault_sweep.h"
#include "holdings.h"
#include "lock_probe.h"
#include "module/class_table.h"
#include "module/identifiers.h"
#include "support/registry_tree.h"

namespace {

using velk::ComPtr;
using velktest::FaultMode;
using velktest::Faults;
using velktest::FaultSweep;
using velktest::Hex;
using velktest::Holdings;

class ModuleFaults : public testing::Test {
  protected:
    ModuleFaults() {
        // The first exception of a thread makes the run-time keep a little memory.
        Faults().Arm(1, FaultMode::kSingle);
        if (bench_.Attach()) bench_.Detach();
        Faults().Disarm();
    }

    std::string AskForAClass() {
        ComPtr<IWbemProviderInit> provider;
        const HRESULT result = bench_.CreateProvider(velk::kClsidVelkPCIDeviceProv, provider);
        return result == S_OK ? "" : "no provider can be made: " + Hex(result) + "; ";
    }
    std::string HeldLocks() {
        const int held = probe_.CountHeld(velktest::Books().Mutexes(), velktest::Books().Semaphores());
        return held == 0 ? "" : std::to_string(held) + " locks are held; ";
    }

    velktest::FaultBench bench_;
    velktest::LockProbe probe_;
};

TEST_F(ModuleFaults, OfLoad) {
    FaultSweep::Run("Load", 1, [&](std::size_t failing, FaultMode mode) {
        bench_.DeleteLogs();
        const Holdings before;
        Faults().Arm(failing, mode);
        const bool loaded = bench_.Attach();
        Faults().Disarm();
        // The loader does not unload what refused to be loaded: that must have left nothing itself.
        if (!loaded) return before.Difference();
        std::string complaint = HeldLocks() + AskForAClass();
        bench_.Detach();
        return complaint + before.Difference();
    });
}

TEST_F(ModuleFaults, OfUnload) {
    FaultSweep::Run("Unload", 1, [&](std::size_t failing, FaultMode mode) {
        bench_.DeleteLogs();
        const Holdings before;
        if (!bench_.Attach()) return std::string("it does not load");
        Faults().Arm(failing, mode);
        bench_.Detach();
        Faults().Disarm();
        return before.Difference();
    });
}

/// The entries of the server, removed before and after.
class RegistrationFaults : public ModuleFaults {
  protected:
    RegistrationFaults() {
        bench_.Attach();
        Unregister();
        none_ = Entries();
        Register();
        all_ = Entries();
        Unregister();
    }
    ~RegistrationFaults() override {
        Unregister();
        bench_.Detach();
    }

    void SetUp() override { ASSERT_NE(none_, all_); }

    HRESULT Register() { return bench_.Export<HRESULT(WINAPI*)()>("DllRegisterServer")(); }
    HRESULT Unregister() { return bench_.Export<HRESULT(WINAPI*)()>("DllUnregisterServer")(); }

    using Tree = std::vector<velktest::RegistryTree>;

    static std::wstring InBraces(const GUID& id) {
        wchar_t text[39] = {};
        ::StringFromGUID2(id, text, 39);
        return text;
    }
    static Tree Entries() {
        Tree tree;
        const auto read = [&tree](const std::wstring& path) {
            tree.push_back(velktest::ReadRegistryTree(HKEY_CLASSES_ROOT, path));
        };
        read(L"AppID\\" + InBraces(velk::kAppId));
        read(L"AppID\\VelkWmiPci.DLL");
        read(L"TypeLib\\" + InBraces(velk::kTypeLibraryId));
        for (const CLSID& clsid : kClasses) read(L"CLSID\\" + InBraces(clsid));
        // One of each spelling.
        read(L"VelkWmiPCI.VelkPCIDeviceProv");
        read(L"VelkWmiPCI.VelkPCIDeviceProv.1");
        read(L"VelkWmiPci.VelkSystemPCISlotProv");
        read(L"VelkWmiPci.VelkSystemPCISlotProv.1");
        read(L"VelkWmiSys.VelkPCISltElmntLocProv.1");
        return tree;
    }

    /// How a registration may end: out of memory, as the call that failed says, or, where a script or the
    /// function that registers a type library cannot be found, with the system's word for that.
    static bool IsAllowed(HRESULT result) {
        return result == S_OK || result == E_OUTOFMEMORY || result == velktest::kInjected ||
               result == HRESULT_FROM_WIN32(velktest::kInjectedError) ||
               result == HRESULT_FROM_WIN32(ERROR_INVALID_DATA) || result == TYPE_E_CANTLOADLIBRARY;
    }

    Tree none_;
    Tree all_;

  private:
    static constexpr CLSID kClasses[] = {
        velk::kClsidVelkPCIBridgeProv,       velk::kClsidVelkPCICardProv,
        velk::kClsidVelkPCICardInSlotProv,   velk::kClsidVelkPCIDeviceProv,
        velk::kClsidVelkPCISlotProv,         velk::kClsidVelkPCISlotElementLocationProv,
        velk::kClsidVelkPCISlotLocationProv, velk::kClsidVelkRealizesPCIDeviceProv,
        velk::kClsidVelkSystemPCIDeviceProv, velk::kClsidVelkSystemPCISlotProv};
};

TEST_F(RegistrationFaults, OfRegistration) {
    FaultSweep::Run("DllRegisterServer", 211, [&](std::size_t failing, FaultMode mode) {
        const Holdings before;
        Faults().Arm(failing, mode);
        const HRESULT result = Register();
        Faults().Disarm();
        std::string complaint = HeldLocks();
        if (!IsAllowed(result)) complaint += "returned " + Hex(result) + "; ";
        // All or nothing; but where every call fails, undoing fails too.
        if (SUCCEEDED(result) && Entries() != all_) complaint += "success, and not everything is there; ";
        if (FAILED(result) && mode == FaultMode::kSingle && Entries() != none_)
            complaint += "a failure that left entries behind; ";
        if (Register() != S_OK || Entries() != all_) complaint += "the next registration is not whole; ";
        if (Unregister() != S_OK || Entries() != none_) complaint += "it cannot be taken back; ";
        return complaint + before.Difference();
    });
}

TEST_F(RegistrationFaults, OfRegistrationOverAnOlderOne) {
    FaultSweep::Run("DllRegisterServer, registered before", 401, [&](std::size_t failing, FaultMode mode) {
        if (Register() != S_OK) return std::string("it cannot be registered; ");
        const Holdings before;
        Faults().Arm(failing, mode);
        const HRESULT result = Register();
        Faults().Disarm();
        std::string complaint = HeldLocks();
        if (!IsAllowed(result)) complaint += "returned " + Hex(result) + "; ";
        // The older registration is put back.
        if (mode == FaultMode::kSingle && Entries() != all_) complaint += "entries are lost; ";
        if (Register() != S_OK || Entries() != all_) complaint += "the next registration is not whole; ";
        return complaint + before.Difference();
    });
}

TEST_F(RegistrationFaults, OfUnregistration) {
    FaultSweep::Run("DllUnregisterServer", 83, [&](std::size_t failing, FaultMode mode) {
        if (Register() != S_OK) return std::string("it cannot be registered; ");
        const Holdings before;
        Faults().Arm(failing, mode);
        const HRESULT result = Unregister();
        Faults().Disarm();
        std::string complaint = HeldLocks();
        if (!IsAllowed(result)) complaint += "returned " + Hex(result) + "; ";
        if (Unregister() != S_OK || Entries() != none_)
            complaint += "the next one does not remove the rest; ";
        return complaint + before.Difference();
    });
}

}  // namespace
