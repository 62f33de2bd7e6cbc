#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tool/basics/console.h"
#include "tool/basics/exit_codes.h"
#include "tool/inventory/inventory.h"
#include "tool/inventory/wmi_reader.h"
#include "tool/source/source.h"
#include "tool/view/findings.h"

namespace velkpci {

/// What the whole command line says, apart from the command's own words.
struct CommonOptions {
    SourceOptions source;
    OutputOptions output;
};

/// What a command works with. The source is connected to when it is first asked for.
class Context {
  public:
    Context(const CommonOptions& options, const Console& console) : options_(options), console_(console) {}

    const CommonOptions& Options() const { return options_; }
    const Console& Out() const { return console_; }
    /// Throws what OpenSource throws.
    WmiReader& Reader();

    /// A failed request with its status and all that is known of its reason; what the source said of it is
    /// taken.
    Failure Explain(const std::string& request, HRESULT status);
    /// The classes of an inventory that failed, explained.
    std::vector<Failure> FailuresOf(const Inventory& inventory);
    /// Prints the findings, then the failures on the error stream, and returns the exit code.
    int Print(const Findings& findings);
    /// The failures on the error stream, and the exit code.
    int Finish(const std::vector<Failure>& failures);
    /// What the source said and no failure explains.
    void FlushReport();

  private:
    const CommonOptions& options_;
    const Console& console_;
    std::unique_ptr<Source> source_;
    std::optional<WmiReader> reader_;
};

/// The words and options of one command, as it declares them. Targets must outlive the parsing.
class Parameters {
  public:
    virtual ~Parameters() = default;
    virtual void Required(const char* name, std::string& target, const char* help) = 0;
    /// One or more.
    virtual void Required(const char* name, std::vector<std::string>& targets, const char* help) = 0;
    virtual void RequiredOption(const char* name, std::string& target, const char* help) = 0;
    virtual void Option(const char* name, std::string& target, const char* help) = 0;
    virtual void Flag(const char* name, bool& target, const char* help) = 0;
};

/// One command: a file in tool/commands/ and a row in its table.
class Command {
  public:
    virtual ~Command() = default;
    virtual void Declare(Parameters&) {}
    /// Returns the exit code. Throws InputError, WmiError.
    virtual int Run(Context& context) = 0;
};

/// What of the common output options a command knows; it refuses the others.
enum Outputs : unsigned {
    kTextAlone = 0,
    kJson = 1,
    kNdjson = 2,
    kCsv = 4,
    kColumns = 8,  ///< --columns and --blocks
};

struct CommandRow {
    const char* name;
    const char* summary;   ///< one line for --help
    const char* examples;  ///< lines for the command's own --help, each "  velkpci ..."
    unsigned outputs;      ///< of Outputs
    std::unique_ptr<Command> (*make)();
};

/// All commands, in the order of --help.
std::span<const CommandRow> CommandTable();

}  // namespace velkpci
