#include "tool/source/hosted_source.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

#include "common/handle.h"
#include "host/machine/machine_replay.h"
#include "host/machine/machine_repository.h"
#include "host/services/registered_server.h"
#include "host/utf8.h"
#include "host/wmi_host.h"
#include "tool/app/errors.h"

namespace velkpci {
namespace {

namespace fs = std::filesystem;
using velkhost::Machine;
using velkhost::Repository;
using velkhost::Utf8FromWide;
using velkhost::WideFromUtf8;

constexpr const wchar_t* kProductMof = L"VelkWmiPci.mof";
constexpr const wchar_t* kStandaloneMof = L"standalone.mof";

fs::path ProgramFolder() {
    std::wstring file(32768, L'\0');
    file.resize(::GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    return fs::path(file).parent_path();
}

bool HasSuite(const Machine& machine) {
    return machine.suite ||
           std::any_of(
               machine.objects.begin(), machine.objects.end(), [](const velkhost::SuiteObject& object) {
                   return std::any_of(
                       std::begin(kSuiteClasses), std::end(kSuiteClasses),
                       [&](const wchar_t* name) { return velkhost::SameName(object.className, name); });
               });
}

/// What the host says, from any thread, until it is asked for.
class Report {
  public:
    void Add(const std::string& message) {
        const std::lock_guard lock(mutex_);
        if (text_.find(message) == std::string::npos) text_ += (text_.empty() ? "" : "; ") + message;
    }
    std::string Take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(text_, {});
    }

  private:
    std::mutex mutex_;
    std::string text_;
};

class HostedSource final : public Source {
  public:
    HostedSource(SourceInfo info, std::wstring nameSpace, Repository repository,
                 std::optional<Machine> machine, const Console& console, bool verbose)
        : Source(std::move(info)) {
        if (machine) Replay(std::move(*machine), repository, nameSpace, console, verbose);
        velkhost::HostOptions options;
        options.report = [report = report_](const std::wstring& message) {
            report->Add(Utf8FromWide(message));
        };
        host_.emplace(std::move(repository), std::move(options));
        services_ = host_->Connect(nameSpace);
        if (!services_) throw InputError(Info().nameSpace + ": there is no such namespace");
    }

    IWbemServices& Services() const override { return *services_; }
    std::string TakeReport() const override { return report_->Take(); }

  private:
    void Replay(Machine machine, const Repository& repository, const std::wstring& nameSpace,
                const Console& console, bool verbose) {
        // All classes are served by one DLL, the first registered one tells which. Without any there is
        // nothing to redirect: the request for an instance will say what is missing.
        for (const std::wstring& name : repository.ClassNames(nameSpace)) {
            const auto clsid = repository.ProviderClsid(nameSpace, name);
            const auto file = clsid ? velkhost::RegisteredServer(*clsid) : std::nullopt;
            if (!file) continue;
            provider_.Reset(::LoadLibraryExW(file->c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
            if (!provider_) continue;
            if (verbose) console.PrintError("provider: " + Utf8FromWide(*file) + "\n");
            replay_.emplace(provider_.Get(), std::move(machine));
            return;
        }
    }

    const std::shared_ptr<Report> report_ = std::make_shared<Report>();
    // Destroyed from the last to the first: the providers go before the redirections, these before the DLL.
    velk::UniqueLibrary provider_;
    std::optional<velkhost::MachineReplay> replay_;
    std::optional<velkhost::WmiHost> host_;
    velk::ComPtr<IWbemServices> services_;
};

}  // namespace

fs::path FindShippedMof(const fs::path& programFolder) {
    for (fs::path folder = programFolder; !folder.empty(); folder = folder.parent_path()) {
        if (fs::exists(folder / L"mof" / kProductMof)) return folder / L"mof";
        if (folder == folder.parent_path()) break;
    }
    throw InputError(
        "no folder \"mof\" with VelkWmiPci.mof beside the program or above it: name the files with --mof");
}

std::vector<fs::path> MofFilesFor(const SourceOptions& options, const Machine* machine,
                                  const fs::path& mofFolder) {
    std::vector<fs::path> files = {mofFolder / kProductMof};
    if (options.standalone || (machine != nullptr && HasSuite(*machine)))
        files.push_back(mofFolder / kStandaloneMof);
    return files;
}

std::unique_ptr<Source> OpenHostedSource(const SourceOptions& options, const Console& console) {
    const std::wstring nameSpace = velkhost::NormalizeNamespace(WideFromUtf8(options.nameSpace));
    std::optional<Machine> machine;
    if (options.machine) machine = velkhost::LoadMachine(fs::path(WideFromUtf8(*options.machine)));
    Machine* const replayed = machine ? &*machine : nullptr;
    std::vector<fs::path> mofFiles;
    for (const std::string& file : options.mofFiles) mofFiles.emplace_back(WideFromUtf8(file));
    if (mofFiles.empty()) mofFiles = MofFilesFor(options, replayed, FindShippedMof(ProgramFolder()));
    if (options.verbose) {
        for (const fs::path& file : mofFiles)
            console.PrintError("class definitions: " + Utf8FromWide(file.wstring()) + "\n");
        console.PrintError("machine: " + options.machine.value_or("this computer") + "\n");
    }
    Repository repository = velkhost::BuildRepository(mofFiles, replayed);
    SourceInfo info{options.machine ? SourceInfo::Kind::kMachine : SourceInfo::Kind::kProvider,
                    options.machine.value_or(""), Utf8FromWide(nameSpace)};
    return std::make_unique<HostedSource>(std::move(info), nameSpace, std::move(repository),
                                          std::move(machine), console, options.verbose);
}

}  // namespace velkpci
