#include "tool/basics/files.h"
#include "tool/commands/commands.h"
#include "tool/view/prometheus_view.h"

namespace velkpci {
namespace {

class ExportCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.RequiredOption("--prometheus", file_,
                                  "Write gauges for the textfile collector to this file");
    }

    int Run(Context& context) override {
        const Inventory inventory = ReadInventory(context.Reader());
        WriteFileWhole(file_, FormatAsPrometheus(inventory));
        return context.Finish(context.FailuresOf(inventory));
    }

  private:
    std::string file_;
};

}  // namespace

std::unique_ptr<Command> MakeExportCommand() { return std::make_unique<ExportCommand>(); }

}  // namespace velkpci
