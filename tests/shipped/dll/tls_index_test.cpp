// The thread-local storage that the DLL takes of its process: indexes, of which there are some thousand for
// all modules together. Without one, the next module that needs one ends the process or does not load.

#include <gtest/gtest.h>

#include "host/import_redirect.h"
#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace {

using velktest::HostedDll;

/// How many indexes this process still has.
int CountFreeIndexes() {
    std::vector<DWORD> taken;
    for (DWORD index = ::TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = ::TlsAlloc())
        taken.push_back(index);
    for (const DWORD index : taken) ::TlsFree(index);
    return static_cast<int>(taken.size());
}

BSTR WINAPI NoBstr(const wchar_t*, UINT) { return nullptr; }

class TlsIndexes : public testing::Test {
  protected:
    TlsIndexes() { registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path()); }

    /// How many indexes are gone after this many loads, a request each, and unloads.
    template <class Request>
    int LostBy(int loads, Request request) {
        const auto host = std::make_shared<const velktest::ProviderHost>(machine_);
        const auto cycle = [&] {
            HostedDll dll(host, machine_);
            request(dll, *dll.MakeProvider(L"Velk_PCIDevice"));
        };
        cycle();  // caches of the platform fill once
        const int before = CountFreeIndexes();
        for (int load = 0; load < loads; ++load) cycle();
        return before - CountFreeIndexes();
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
    velkhost::Machine machine_ = velktest::LoadSampleMachine("tower-with-gaps");
};

constexpr int kLoads = 20;

TEST_F(TlsIndexes, AreNotTakenByLoadsWithoutAnException) {
    EXPECT_EQ(LostBy(kLoads,
                     [](HostedDll&, IWbemServices& provider) {
                         EXPECT_EQ(velktest::Enumerate(provider).statuses, std::vector<HRESULT>{S_OK});
                     }),
              0);
}

TEST_F(TlsIndexes, AreGivenBackByLoadsThatRanOutOfMemory) {
    int inUse = 0;
    EXPECT_EQ(LostBy(kLoads,
                     [&](HostedDll& dll, IWbemServices& provider) {
                         const int before = CountFreeIndexes();
                         const velkhost::ImportRedirect noMemory(dll.Module(), "SysAllocStringLen",
                                                                 reinterpret_cast<void*>(&NoBstr));
                         EXPECT_EQ(velktest::Get(provider, L"Velk_PCIDevice.DeviceID=\"x\"").returned,
                                   E_OUTOFMEMORY);
                         inUse = before - CountFreeIndexes();
                     }),
              0);
    EXPECT_EQ(inUse, 1) << "an exception takes one; otherwise this test shows nothing";
}

TEST_F(TlsIndexes, OfThreadsThatRanOutOfMemoryAreGivenBackToo) {
    EXPECT_EQ(
        LostBy(kLoads,
               [](HostedDll& dll, IWbemServices& provider) {
                   const velkhost::ImportRedirect noMemory(dll.Module(), "SysAllocStringLen",
                                                           reinterpret_cast<void*>(&NoBstr));
                   velk::UniqueHandle threads[3];
                   for (velk::UniqueHandle& thread : threads) {
                       thread.Reset(::CreateThread(
                           nullptr, 0,
                           [](void* argument) -> DWORD {
                               return static_cast<DWORD>(
                                   velktest::Get(*static_cast<IWbemServices*>(argument), L"x").returned);
                           },
                           &provider, 0, nullptr));
                   }
                   for (const velk::UniqueHandle& thread : threads) {
                       ::WaitForSingleObject(thread.Get(), INFINITE);
                       DWORD answer = 0;
                       ::GetExitCodeThread(thread.Get(), &answer);
                       EXPECT_EQ(static_cast<HRESULT>(answer), E_OUTOFMEMORY) << "no exception, no index";
                   }
               }),
        0);
}

}  // namespace
