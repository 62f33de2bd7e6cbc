#include "tool/basics/errors.h"
#include "tool/commands/commands.h"
#include "tool/compare/difference.h"

namespace velkpci {
namespace {

class DiffCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.Required("A", before_, "A machine file, or what dump --json printed");
        parameters.Required("B", after_, "Another one of the same kind");
    }

    int Run(Context& context) override {
        const SourceOptions& source = context.Options().source;
        if (source.machine || source.provider || source.computer)
            throw InputError("diff compares two files: not --machine, --provider or --computer");
        const Snapshot before = ReadSnapshot(before_), after = ReadSnapshot(after_);
        if (before.kind != after.kind)
            throw InputError(after_ + ": " + KindName(after.kind) + ", while " + before_ + " is " +
                             KindName(before.kind));
        const Difference difference = Compare(before, after);
        const bool isJson = context.Options().output.format == Format::kJson;
        context.Out().Print(isJson ? FormatDifferenceAsJson(difference, before, after)
                                   : FormatDifference(difference));
        return difference.IsEmpty() ? kSuccess : kFailure;
    }

  private:
    std::string before_, after_;
};

}  // namespace

std::unique_ptr<Command> MakeDiffCommand() { return std::make_unique<DiffCommand>(); }

}  // namespace velkpci
