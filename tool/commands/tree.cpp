#include "tool/view/tree.h"

#include "tool/commands/commands.h"

namespace velkpci {
namespace {

class TreeCommand final : public Command {
  public:
    int Run(Context& context) override {
        const Inventory inventory = ReadInventory(context.Reader());
        const std::vector<Failure> failures = context.FailuresOf(inventory);
        const bool isJson = context.Options().output.format == Format::kJson;
        context.Out().Print(isJson ? FormatTreeAsJson(inventory, failures) : FormatTree(inventory));
        return context.Finish(failures);
    }
};

}  // namespace

std::unique_ptr<Command> MakeTreeCommand() { return std::make_unique<TreeCommand>(); }

}  // namespace velkpci
