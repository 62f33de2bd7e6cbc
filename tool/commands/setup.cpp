#include "tool/setup/setup.h"
#include "tool/basics/errors.h"
#include "tool/commands/commands.h"

namespace velkpci {
namespace {

class SetupCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.Required("ACTION", action_, "compile, remove or rollback");
        parameters.Option(
            "--standalone-classes", classes_,
            "With compile: the suite's two classes from standalone.mof: auto (where they are not "
            "there), on, off; without it what was chosen last");
    }

    int Run(Context& context) override {
        const SourceOptions& source = context.Options().source;
        if (source.machine || source.provider || source.computer)
            throw InputError("setup is for WMI of this computer");
        const std::optional<StandaloneChoice> choice = Choice();
        if (action_ != "compile" && action_ != "remove" && action_ != "rollback")
            throw InputError("setup takes compile, remove or rollback, not \"" + action_ + "\"");
        Setup setup(ThisSetup(), context.Out());
        if (action_ == "compile") return setup.Compile(choice);
        action_ == "remove" ? setup.Remove() : setup.Rollback();
        return kSuccess;
    }

  private:
    /// Nothing without the option, and with "keep", which the package gives where nobody chose.
    std::optional<StandaloneChoice> Choice() const {
        if (classes_.empty() || classes_ == "keep") return {};
        const auto choice = ParseChoice(classes_);
        if (!choice) throw InputError("--standalone-classes takes auto, on or off, not \"" + classes_ + "\"");
        return choice;
    }

    std::string action_, classes_;
};

}  // namespace

std::unique_ptr<Command> MakeSetupCommand() { return std::make_unique<SetupCommand>(); }

}  // namespace velkpci
