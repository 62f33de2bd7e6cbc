#include "tool/commands/commands.h"

namespace velkpci {
namespace {

constexpr const char* kTreeExamples =
    "  velkpci tree\n"
    "  velkpci --machine machines/two-socket-rack-server.json tree --json\n";
constexpr const char* kListExamples =
    "  velkpci list Velk_PCISlot\n"
    "  velkpci list Velk_PCIDevice --columns DeviceID,Description\n"
    "  velkpci list Velk_PCICard --csv\n";
constexpr const char* kQueryExamples =
    "  velkpci query \"SELECT * FROM Velk_PCISlot WHERE SupportsHotPlug = TRUE\"\n"
    "  velkpci query \"SELECT DeviceID, Description FROM Velk_PCIDevice WHERE BusNumber = 0\" --ndjson\n";
constexpr const char* kGetExamples =
    "  velkpci get \"Velk_PCICard.CreationClassName='Velk_PCICard',Tag='PCI Card 2'\"\n"
    "  velkpci get Velk_PCISlot\n";
constexpr const char* kAssociatorsExamples =
    "  velkpci associators \"Velk_PCICard.CreationClassName='Velk_PCICard',Tag='PCI Card 2'\"\n";
constexpr const char* kReferencesExamples =
    "  velkpci references \"Velk_PCICard.CreationClassName='Velk_PCICard',Tag='PCI Card 2'\" --json\n";
constexpr const char* kClassesExamples =
    "  velkpci classes\n"
    "  velkpci classes --all --json\n";
constexpr const char* kDumpExamples =
    "  velkpci dump\n"
    "  velkpci dump --json > inventory.json\n";
constexpr const char* kCaptureExamples =
    "  velkpci capture -o this-server.json\n"
    "  velkpci --provider capture -o this-server.json\n"
    "  velkpci --machine machines/tower-with-gaps.json capture -o again.json\n";
constexpr const char* kDiffExamples =
    "  velkpci diff before.json after.json\n"
    "  velkpci diff machines/no-smbios.json machines/odd-bridges.json --json\n";

constexpr const char* kCheckExamples =
    "  velkpci check\n"
    "  velkpci check -o check.json\n"
    "  velkpci --machine machines/server-of-2024.json check\n";
constexpr const char* kSetupExamples =
    "  velkpci setup compile\n"
    "  velkpci setup compile --standalone-classes off\n"
    "  velkpci setup remove\n";
constexpr const char* kExportExamples = "  velkpci export --prometheus C:\\textfile_inputs\\velkpci.prom\n";
constexpr const char* kReportExamples =
    "  velkpci report --html inventory.html\n"
    "  velkpci --machine machines/two-socket-rack-server.json report --svg slots.svg\n";

constexpr unsigned kEverything = kJson | kNdjson | kCsv | kColumns;
constexpr unsigned kOfSeveralClasses = kJson | kNdjson | kColumns;

// A new command: a row here, its maker in commands.h, a file beside this one.
const CommandRow kCommands[] = {
    {"tree", "Print the machine as one tree", kTreeExamples, kJson, &MakeTreeCommand},
    {"list", "List the instances of a class", kListExamples, kEverything, &MakeListCommand},
    {"query", "List what a WQL query finds", kQueryExamples, kEverything, &MakeQueryCommand},
    {"get", "Get instances, or classes, by their paths", kGetExamples, kOfSeveralClasses, &MakeGetCommand},
    {"associators", "List the instances that associations link with an instance", kAssociatorsExamples,
     kOfSeveralClasses, &MakeAssociatorsCommand},
    {"references", "List the associations that refer to an instance", kReferencesExamples, kOfSeveralClasses,
     &MakeReferencesCommand},
    {"classes", "List the classes that have instances", kClassesExamples, kJson | kNdjson | kCsv,
     &MakeClassesCommand},
    {"dump", "List the instances of every class", kDumpExamples, kOfSeveralClasses, &MakeDumpCommand},
    {"check", "Check what must be right on a server, and tell what mends it", kCheckExamples, kJson,
     &MakeCheckCommand},
    {"export", "Write the inventory for another program", kExportExamples, kTextAlone, &MakeExportCommand},
    {"report", "Write a page or a drawing of the machine", kReportExamples, kTextAlone, &MakeReportCommand},
    {"capture", "Write a machine file of this computer, for --machine", kCaptureExamples, kTextAlone,
     &MakeCaptureCommand},
    {"diff", "Tell what differs between two machine files or two saved dumps", kDiffExamples, kJson,
     &MakeDiffCommand},
    {"setup", "Tell WMI of this computer about the classes, or make it forget them", kSetupExamples,
     kTextAlone, &MakeSetupCommand},
};

}  // namespace

std::span<const CommandRow> CommandTable() { return kCommands; }

}  // namespace velkpci
