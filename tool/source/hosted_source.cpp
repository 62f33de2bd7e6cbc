#include "tool/source/hosted_source.h"

#include <mutex>
#include <optional>
#include <utility>

#include "host/machine/machine_repository.h"
#include "host/machine/machine_setup.h"
#include "host/utf8.h"
#include "host/wmi_host.h"
#include "tool/basics/errors.h"

namespace velkpci {
namespace {

namespace fs = std::filesystem;
using velkhost::Machine;
using velkhost::Repository;
using velkhost::Utf8FromWide;
using velkhost::WideFromUtf8;

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

std::vector<fs::path> DefaultMofFiles(const Machine* machine, bool standalone) {
    try {
        return velkhost::ShippedMofFiles(
            machine, standalone, velkhost::FindShippedMof(velkhost::FileOfModule(nullptr).parent_path()));
    } catch (const velkhost::MachineError& error) {
        throw InputError(std::string(error.what()) + ": name the files with --mof");
    }
}

class HostedSource final : public Source {
  public:
    HostedSource(SourceInfo info, std::wstring nameSpace, Repository repository,
                 std::optional<Machine> machine, const Console& console, bool verbose)
        : Source(std::move(info)) {
        if (machine) provider_.emplace(repository, nameSpace, std::move(*machine));
        if (provider_ && provider_->File() && verbose)
            console.PrintError("provider: " + Utf8FromWide(*provider_->File()) + "\n");
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
    const std::shared_ptr<Report> report_ = std::make_shared<Report>();
    // Destroyed from the last to the first: the provider objects go before their DLL.
    std::optional<velkhost::ReplayedProvider> provider_;
    std::optional<velkhost::WmiHost> host_;
    velk::ComPtr<IWbemServices> services_;
};

}  // namespace

std::unique_ptr<Source> OpenHostedSource(const SourceOptions& options, const Console& console) {
    const std::wstring nameSpace = velkhost::NormalizeNamespace(WideFromUtf8(options.nameSpace));
    std::optional<Machine> machine;
    if (options.machine) machine = velkhost::LoadMachine(fs::path(WideFromUtf8(*options.machine)));
    Machine* const replayed = machine ? &*machine : nullptr;
    std::vector<fs::path> mofFiles;
    for (const std::string& file : options.mofFiles) mofFiles.emplace_back(WideFromUtf8(file));
    if (mofFiles.empty()) mofFiles = DefaultMofFiles(replayed, options.standalone);
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
