#include "tool/app/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "tool/basics/errors.h"
#include "tool/basics/version.h"
#include "tool/inventory/names.h"

namespace velkpci {
namespace {

constexpr const char* kDescription =
    "Shows the PCI inventory of a server: the instances that VelkWmiPci.dll publishes through WMI.\n"
    "Without an option it asks WMI of this computer.";

constexpr const char* kFooter =
    "Exit codes: 0 = success; 1 = WMI answered a failure (its name and number are printed);\n"
    "            2 = a wrong word or file; 130 = ended with Ctrl-C.\n"
    "Examples:\n"
    "  velkpci tree\n"
    "  velkpci list Velk_PCIDevice --columns DeviceID,Description\n"
    "  velkpci --computer SERVER7 --user ADMIN\\operator dump --json\n"
    "  velkpci --machine machines/two-socket-rack-server.json tree\n"
    "  velkpci --provider list Velk_PCISlot\n"
    "\"velkpci COMMAND --help\" tells more of a command.";

/// A command's words, as CLI11's.
class CliParameters final : public Parameters {
  public:
    explicit CliParameters(CLI::App& app) : app_(app) {}

    void Required(const char* name, std::string& target, const char* help) override {
        app_.add_option(name, target, help)->required();
    }
    void Required(const char* name, std::vector<std::string>& targets, const char* help) override {
        app_.add_option(name, targets, help)->required();
    }
    void RequiredOption(const char* name, std::string& target, const char* help) override {
        app_.add_option(name, target, help)->required();
    }
    void Option(const char* name, std::string& target, const char* help) override {
        app_.add_option(name, target, help);
    }
    void Flag(const char* name, bool& target, const char* help) override {
        app_.add_flag(name, target, help);
    }

  private:
    CLI::App& app_;
};

void DescribeSources(CLI::App& app, SourceOptions& source) {
    auto* machine =
        app.add_option("--machine", source.machine, "Replay the machine of this file to the provider");
    auto* provider =
        app.add_flag("--provider", source.provider,
                     "Ask the registered provider in this process, without WMI: tells its faults from WMI's");
    auto* computer = app.add_option("--computer", source.computer, "Ask WMI of another computer");
    app.add_option("--user", source.user,
                   "Ask it as this user; the password is asked for, or read from standard input")
        ->needs(computer);
    app.add_flag(
        "--standalone", source.standalone,
        "With --machine or --provider: the suite's two classes are there, as standalone.mof defines them");
    app.add_option("--mof", source.mofFiles,
                   "With --machine or --provider: class definitions to read instead of those in the folder "
                   "\"mof\" beside the program or above it")
        ->allow_extra_args(false);
    app.add_option("--namespace", source.nameSpace, "The namespace to connect to")->capture_default_str();
    app.add_flag("--verbose", source.verbose, "Tell on the error stream what is asked and how long it takes");
    machine->excludes(provider)->excludes(computer);
    provider->excludes(computer);
}

struct FormatFlags {
    bool json = false;
    bool ndjson = false;
    bool csv = false;
};

void DescribeOutput(CLI::App& app, OutputOptions& output, FormatFlags& formats) {
    auto* json = app.add_flag("--json", formats.json, "Print a JSON document (docs/json.md)");
    auto* ndjson = app.add_flag("--ndjson", formats.ndjson, "Print a line of JSON for each instance");
    auto* csv = app.add_flag("--csv", formats.csv, "Print comma-separated values");
    json->excludes(ndjson)->excludes(csv);
    ndjson->excludes(csv);
    app.add_option("--columns", output.columns, "These properties alone, in this order")->delimiter(',');
    app.add_flag("--blocks", output.blocks, "A block of properties for each instance, and no table");
    app.add_flag("--all", output.all, "NULL properties, and with classes every class, too");
}

/// What a word of the command line is to CLI11's apps: an option with or without a value after it.
const CLI::Option* FindOption(const CLI::App& app, const std::string& name) {
    return app.get_option_no_throw(name.substr(0, name.find('=')));
}

std::vector<std::string> OptionNames(const CLI::App& main, const CLI::App* command) {
    std::vector<std::string> names;
    for (const CLI::App* app : {&main, command}) {
        if (app == nullptr) continue;
        for (const CLI::Option* option : app->get_options()) {
            for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
        }
    }
    return names;
}

/// The first word that is no command and no option, named with the nearest right one; empty when all are
/// known. Told before CLI11 complains of what follows from it.
std::string WrongWord(const CLI::App& main, const std::vector<std::string>& arguments) {
    const CLI::App* command = nullptr;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word.starts_with("--") && word.size() > 2) {
            const CLI::Option* option = FindOption(main, word);
            if (option == nullptr && command != nullptr) option = FindOption(*command, word);
            if (option == nullptr)
                return "no option \"" + word + "\"" + DidYouMean(word, OptionNames(main, command));
            const bool takesValue = option->get_items_expected_max() > 0;
            if (takesValue && word.find('=') == std::string::npos) ++i;
        } else if (command == nullptr && !word.starts_with("-")) {
            const bool isKnown =
                std::ranges::any_of(CommandTable(), [&](const CommandRow& row) { return word == row.name; });
            if (isKnown) command = main.get_subcommand(word);
            std::vector<std::string> names;
            for (const CommandRow& row : CommandTable()) names.emplace_back(row.name);
            if (command == nullptr) return "no command \"" + word + "\"" + DidYouMean(word, names);
        }
    }
    return {};
}

Format ChosenFormat(const FormatFlags& formats) {
    if (formats.json) return Format::kJson;
    if (formats.ndjson) return Format::kNdjson;
    return formats.csv ? Format::kCsv : Format::kText;
}

/// Refuses an output that the command does not have.
void CheckOutput(const CommandRow& row, const FormatFlags& formats, const OutputOptions& output) {
    const auto refuse = [&](bool isAsked, unsigned needed, const char* option) {
        if (isAsked && (row.outputs & needed) == 0)
            throw InputError(std::string(row.name) + " has no " + option);
    };
    refuse(formats.json, kJson, "--json");
    refuse(formats.ndjson, kNdjson, "--ndjson");
    refuse(formats.csv, kCsv, "--csv");
    refuse(!output.columns.empty(), kColumns, "--columns");
    refuse(output.blocks, kColumns, "--blocks");
}

void CheckSource(const SourceOptions& source) {
    const bool isHosted = source.machine || source.provider;
    if (isHosted) return;
    if (source.standalone) throw InputError("--standalone is for --machine and --provider");
    if (!source.mofFiles.empty()) throw InputError("--mof is for --machine and --provider");
}

}  // namespace

CommandLine ReadCommandLine(std::vector<std::string> arguments) {
    CommandLine line;
    FormatFlags formats;
    std::vector<std::unique_ptr<Command>> commands;
    std::size_t chosen = 0;
    CLI::App app(kDescription, "velkpci");
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("velkpci ") + kVersion);
    app.require_subcommand(1);
    // A word such as /home/me/machine.json is a file.
    app.allow_windows_style_options(false);
    DescribeSources(app, line.options.source);
    DescribeOutput(app, line.options.output, formats);
    for (std::size_t i = 0; i < CommandTable().size(); ++i) {
        const CommandRow& row = CommandTable()[i];
        commands.push_back(row.make());
        CLI::App* added = app.add_subcommand(row.name, row.summary);
        added->fallthrough();
        added->footer(std::string("Examples:\n") + row.examples +
                      "Where from and in which format: \"velkpci --help\".");
        added->callback([&chosen, i] { chosen = i; });
        CliParameters parameters(*added);
        commands.back()->Declare(parameters);
    }
    try {
        const std::string wrong = WrongWord(app, arguments);
        if (!wrong.empty()) throw InputError(wrong);
        // CLI11 takes the arguments from the back.
        std::reverse(arguments.begin(), arguments.end());
        app.parse(std::move(arguments));
        CheckOutput(CommandTable()[chosen], formats, line.options.output);
        CheckSource(line.options.source);
        line.options.output.format = ChosenFormat(formats);
        line.command = std::move(commands[chosen]);
    } catch (const CLI::Success& success) {
        std::ostringstream out;
        app.exit(success, out, out);
        line.message = out.str();
    } catch (const CLI::ParseError& error) {
        line.message = std::string("velkpci: ") + error.what() + " (velkpci --help)\n";
        line.exitCode = kBadUsage;
    } catch (const InputError& error) {
        line.message = std::string("velkpci: ") + error.what() + "\n";
        line.exitCode = kBadUsage;
    }
    return line;
}

}  // namespace velkpci
