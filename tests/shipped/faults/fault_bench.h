#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/com_ptr.h"
#include "common/handle.h"
#include "host/com/class_factory.h"
#include "host/machine/machine_replay.h"
#include "import_faults.h"
#include "support/fake_driver.h"
#include "support/fake_wbem.h"
#include "support/hosted/provider_bench.h"
#include "support/recording_sink.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"
#include "wmi_faults.h"

namespace velktest {

// How the bench's computer is called.
inline constexpr wchar_t kFullName[] = L"server.example.com";
inline constexpr wchar_t kHostName[] = L"server";
inline constexpr wchar_t kServerName[] = L"SERVER";  ///< by WMI

/// The process's current folder for a scope.
class WorkingFolder {
  public:
    explicit WorkingFolder(const std::filesystem::path& folder) { std::filesystem::current_path(folder); }
    ~WorkingFolder() { std::filesystem::current_path(before_); }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

  private:
    std::filesystem::path before_ = std::filesystem::current_path();
};

/// Where the machine's SMBIOS table comes from.
enum class SmbiosSource { kWmi, kDriver };

/// The shipped DLL in this process on a small machine, all calls that leave it under the fault plan.
///
/// The machine: three PCI functions in slots 1 (two) and 2, two bridges, and an SMBIOS table with the PCI
/// slots 1, 2 and 4.
class FaultBench {
  public:
    FaultBench();
    ~FaultBench();
    FaultBench(const FaultBench&) = delete;
    FaultBench& operator=(const FaultBench&) = delete;

    void SetSmbiosSource(SmbiosSource source);

    /// Runs the module's own load and unload code, as the loader does, without the cost of mapping the file.
    bool Attach();
    void Detach();
    /// Maps the file afresh: nothing that the module keeps for the life of the process is left. Detached
    /// before and afterwards.
    void Reload();

    template <class Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(dll_.Get(), name)));
    }
    HMODULE Module() const { return dll_.Get(); }
    HRESULT CanUnloadNow() const { return Export<HRESULT(WINAPI*)()>("DllCanUnloadNow")(); }
    /// By way of the class factory.
    HRESULT CreateProvider(REFCLSID clsid, velk::ComPtr<IWbemProviderInit>& provider) const;

    void RunThreads() { faults_->RunThreads(); }

    /// Forgets the logs, so that the next run finds the same files as the last one.
    void DeleteLogs() const;
    /// Forgets what the fakes wrote down and the instances that they keep alive.
    void Tidy();

    /// Makes this the definition of the WMI class that providers fetch.
    void DefineClass(const velk::CString& wmiClass);
    IWbemServices* Services() const { return services_.Get(); }

  private:
    /// Throws std::runtime_error unless a request that operator new has no memory for says so.
    void ProveThatOperatorNewFails();
    void Load();
    void Unload();

    RegistryFixture registry_;
    TempFolder folder_;
    WorkingFolder workingFolder_{folder_.Path()};  ///< where the log goes that has no mutex
    Apartment apartment_;
    velkhost::ClassRegistration pathParser_;
    FakeWmi wmi_;
    std::optional<WmiFaults> wmiFaults_;
    velk::ComPtr<FakeServices> services_ = FakeServices::Make();
    velk::ComPtr<FakeClassObject> classObject_ = FakeClassObject::Make();
    velk::UniqueLibrary dll_;
    std::unique_ptr<velkhost::MachineReplay> replay_;
    SmbiosSource smbiosSource_ = SmbiosSource::kWmi;
    std::optional<FakeDriver> driver_;
    std::vector<velkhost::ImportRedirect> below_;
    std::unique_ptr<ImportFaults> faults_;
};

}  // namespace velktest
