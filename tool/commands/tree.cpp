#include "tool/view/tree.h"

#include "host/utf8.h"
#include "tool/commands/commands.h"

namespace velkpci {
namespace {

class TreeCommand final : public Command {
  public:
    int Run(Context& context) override {
        const Inventory inventory = ReadInventory(context.Reader());
        const std::vector<Failure> failures = FailuresOf(inventory, context);
        const bool isJson = context.Options().output.format == Format::kJson;
        context.Out().Print(isJson ? FormatTreeAsJson(inventory, failures) : FormatTree(inventory));
        return context.Finish(failures);
    }

  private:
    static std::vector<Failure> FailuresOf(const Inventory& inventory, Context& context) {
        std::vector<Failure> failures;
        for (const ClassData& data : inventory.classes) {
            if (IsFailure(data))
                failures.push_back(context.Explain(velkhost::Utf8FromWide(data.name), data.status));
        }
        return failures;
    }
};

}  // namespace

std::unique_ptr<Command> MakeTreeCommand() { return std::make_unique<TreeCommand>(); }

}  // namespace velkpci
