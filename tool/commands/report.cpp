#include "tool/view/report/report.h"

#include "tool/basics/errors.h"
#include "tool/basics/files.h"
#include "tool/commands/commands.h"

namespace velkpci {
namespace {

class ReportCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.Option("--html", html_, "Write one page with everything to this file");
        parameters.Option("--svg", svg_, "Write a drawing of the chassis and its slots to this file");
    }

    int Run(Context& context) override {
        if (html_.empty() && svg_.empty()) throw InputError("report needs --html FILE, --svg FILE, or both");
        const Inventory inventory = ReadInventory(context.Reader());
        const std::vector<Failure> failures = context.FailuresOf(inventory);
        if (!html_.empty()) WriteFileWhole(html_, FormatReportAsHtml(inventory, failures));
        if (!svg_.empty()) WriteFileWhole(svg_, FormatReportAsSvg(inventory, failures));
        return context.Finish(failures);
    }

  private:
    std::string html_;
    std::string svg_;
};

}  // namespace

std::unique_ptr<Command> MakeReportCommand() { return std::make_unique<ReportCommand>(); }

}  // namespace velkpci
