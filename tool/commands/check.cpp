#include <algorithm>

#include "tool/basics/files.h"
#include "tool/check/gather.h"
#include "tool/check/verdict.h"
#include "tool/commands/commands.h"
#include "tool/view/check_view.h"

namespace velkpci {
namespace {

class CheckCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.Option("-o,--output", file_, "Write the JSON document to this file, too");
    }

    int Run(Context& context) override {
        const Facts facts = GatherFacts(context.Options().source, context.Out());
        const std::vector<Verdict> verdicts = Judge(facts);
        const bool isJson = context.Options().output.format == Format::kJson;
        context.Out().Print(isJson ? FormatVerdictsAsJson(facts, verdicts) : FormatVerdicts(verdicts));
        if (!file_.empty()) WriteFileWhole(file_, FormatVerdictsAsJson(facts, verdicts));
        const bool hasFailed = std::ranges::any_of(
            verdicts, [](const Verdict& verdict) { return verdict.outcome == Outcome::kFailed; });
        return hasFailed ? kFailure : kSuccess;
    }

  private:
    std::string file_;
};

}  // namespace

std::unique_ptr<Command> MakeCheckCommand() { return std::make_unique<CheckCommand>(); }

}  // namespace velkpci
