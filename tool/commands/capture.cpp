#include "host/machine/machine_capture.h"
#include "host/machine/machine_replay.h"
#include "host/machine/machine_setup.h"
#include "host/machine/machine_writer.h"
#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/basics/files.h"
#include "tool/capture/identifiers.h"
#include "tool/commands/commands.h"
#include "tool/inventory/status_names.h"
#include "tool/view/json_view.h"

namespace velkpci {
namespace {

using velkhost::Machine;
using velkhost::Utf8FromWide;

/// What a replay needs of an instance of the suite: paths are made of keys.
velkhost::SuiteObject KeysOf(const Instance& instance, const std::wstring& nameSpace,
                             const wchar_t* className) {
    Json keys = Json::object();
    for (std::size_t i = 0; i < instance.values.size(); ++i) {
        const PropertyDef& property = instance.definition->properties[i];
        const auto* text = instance.values[i].As<std::wstring>();
        if (property.isKey && text != nullptr) keys[Utf8FromWide(property.name)] = Utf8FromWide(*text);
    }
    return {nameSpace, className, JsonText(keys)};
}

class CaptureCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.Option("-o,--output", output_, "Where to write it; without it on standard output");
        parameters.Flag("--keep-identifiers", keepIdentifiers_,
                        "Keep serial numbers, UUIDs, asset tags and the computer's names, which are replaced "
                        "else");
    }

    int Run(Context& context) override {
        const SourceOptions& source = context.Options().source;
        if (source.computer) throw InputError("capture is of the computer that it runs on: not --computer");
        std::vector<Failure> failures;
        Machine machine = source.machine ? CaptureReplayed(*source.machine) : velkhost::CaptureMachine();
        if (!source.machine && !source.provider) AddSuite(context, machine, failures);
        if (!keepIdentifiers_) ReplaceIdentifiers(machine);
        machine.about = keepIdentifiers_ ? L"Captured by velkpci, with its identifiers."
                                         : L"Captured by velkpci, identifiers replaced.";
        const std::string text = velkhost::FormatMachine(machine);
        if (output_.empty()) {
            context.Out().Print(text);
        } else {
            WriteFileWhole(output_, text);
        }
        return context.Finish(failures);
    }

  private:
    /// The machine of a file by the same calls of the system as one that is there. What these do not tell is
    /// the file's.
    static Machine CaptureReplayed(const std::string& file) {
        Machine machine = velkhost::LoadMachine(std::filesystem::path(velkhost::WideFromUtf8(file)));
        const velkhost::MachineReplay replay(::GetModuleHandleW(nullptr), machine);
        Machine captured = velkhost::CaptureMachine();
        captured.settings = std::move(machine.settings);
        captured.suite = machine.suite;
        captured.objects = std::move(machine.objects);
        return captured;
    }

    /// The suite's two classes, as WMI has them.
    static void AddSuite(Context& context, Machine& machine, std::vector<Failure>& failures) {
        try {
            WmiReader& reader = context.Reader();
            for (const wchar_t* name : velkhost::kSuiteClasses)
                AddClass(context, reader, name, machine, failures);
        } catch (const WmiError& error) {
            if (!IsNotThere(error.Status()))
                failures.push_back(context.Explain(error.what(), error.Status()));
        }
    }

    static void AddClass(Context& context, WmiReader& reader, const wchar_t* name, Machine& machine,
                         std::vector<Failure>& failures) {
        const ClassData data = reader.Enumerate(name);
        if (IsNotThere(data.status)) return;
        if (FAILED(data.status)) failures.push_back(context.Explain(Utf8FromWide(name), data.status));
        machine.suite = true;
        const std::wstring nameSpace = velkhost::WideFromUtf8(reader.From().Info().nameSpace);
        for (const InstancePtr& instance : data.instances)
            machine.objects.push_back(KeysOf(*instance, nameSpace, name));
    }

    std::string output_;
    bool keepIdentifiers_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeCaptureCommand() { return std::make_unique<CaptureCommand>(); }

}  // namespace velkpci
