#include "host/utf8.h"
#include "tool/commands/commands.h"

namespace velkpci {
namespace {

class ListCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.Required("CLASS", className_, "The class, in any case");
    }

    int Run(Context& context) override {
        WmiReader& reader = context.Reader();
        Findings findings{"list", reader.From().Info(), {}, {}};
        ClassData data = reader.Enumerate(velkhost::WideFromUtf8(className_));
        const std::string name = velkhost::Utf8FromWide(data.name);
        if (FAILED(data.status)) findings.failures.push_back(context.Explain(name, data.status));
        findings.sections.push_back({name, std::move(data), true});
        return context.Print(findings);
    }

  private:
    std::string className_;
};

}  // namespace

std::unique_ptr<Command> MakeListCommand() { return std::make_unique<ListCommand>(); }

}  // namespace velkpci
