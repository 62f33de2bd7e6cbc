#include "host/cli/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace velkhost::cli {
namespace {

constexpr int kBadUsage = 2;

constexpr const char* kDescription =
    "Shows the WMI instances that VelkWmiPci.dll serves, without touching this machine's WMI: plays WMI's "
    "part in its "
    "own process, finds the provider through the registration that regsvr32 wrote, and asks it.";

constexpr const char* kFooter =
    "Exit code: 0 = success, 1 = WMI answered a failure (its name and number are printed), 2 = bad usage.\n"
    "Examples:\n"
    "  velkhost --machine machines/rack-server.json tree\n"
    "  velkhost --live list Velk_PCIDevice --columns DeviceID,Description\n"
    "  velkhost --live get 'Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"'";

void AddCommand(CLI::App& app, Options& options, Options::Command command, const char* name,
                const char* description, const char* target = nullptr) {
    CLI::App* added = app.add_subcommand(name, description);
    added->fallthrough();
    added->callback([&options, command] { options.command = command; });
    if (target != nullptr) added->add_option(target, options.target)->required();
    if (command == Options::Command::kGet) added->add_option("PATH", options.paths)->required();
    if (command == Options::Command::kList) {
        added
            ->add_option("--columns", options.columns,
                         "Print a table of these properties, a row per instance")
            ->delimiter(',');
    }
}

void Describe(CLI::App& app, Options& options) {
    app.name("velkhost");
    app.footer(kFooter);
    app.require_subcommand(1);
    auto* machine =
        app.add_option("--machine", options.machine, "Replay the machine that this JSON file describes");
    app.add_flag("--live", options.live, "Show this machine itself, nothing is replaced (the default)")
        ->excludes(machine);
    app.add_option("--mof", options.mofFiles,
                   "Class definitions to read instead of VelkWmiPci.mof and standalone.mof in the folder "
                   "\"mof\" beside the program or "
                   "in a folder above it")
        ->allow_extra_args(false);
    app.add_option("--namespace", options.nameSpace, "The namespace to connect to")->capture_default_str();
    app.add_flag("--json", options.asJson, "Print JSON");
    app.add_flag("--all", options.all, "Print NULL properties, and with classes every class, too");
    app.add_flag("--verbose", options.verbose,
                 "Tell on the error stream what is loaded and how long it takes");

    using Command = Options::Command;
    AddCommand(app, options, Command::kClasses, "classes", "List the classes that have instances");
    AddCommand(app, options, Command::kList, "list", "Enumerate the instances of a class", "CLASS");
    AddCommand(app, options, Command::kGet, "get", "Get instances, or classes, by their paths");
    AddCommand(app, options, Command::kDump, "dump", "Enumerate every class that a provider serves");
    AddCommand(app, options, Command::kAssociators, "associators",
               "List the instances that associations link with an instance", "PATH");
    AddCommand(app, options, Command::kReferences, "references",
               "List the associations that refer to an instance", "PATH");
    AddCommand(app, options, Command::kTree, "tree", "Print the machine as one tree");
}

}  // namespace

ParsedOptions ParseOptions(std::vector<std::string> arguments) {
    ParsedOptions parsed;
    Options options;
    CLI::App app(kDescription);
    Describe(app, options);
    try {
        // CLI11 takes the arguments from the back.
        std::reverse(arguments.begin(), arguments.end());
        app.parse(std::move(arguments));
        parsed.options = std::move(options);
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        const int code = app.exit(error, out, out);
        parsed.message = out.str();
        parsed.exitCode = code == 0 ? 0 : kBadUsage;
    }
    return parsed;
}

}  // namespace velkhost::cli
