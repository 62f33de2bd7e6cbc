#include "host/utf8.h"
#include "tool/commands/commands.h"

namespace velkpci {
namespace {

class GetCommand final : public Command {
  public:
    void Declare(Parameters& parameters) override {
        parameters.Required("PATH", paths_, "Class.Key=\"value\",... or the name of a class");
    }

    int Run(Context& context) override {
        WmiReader& reader = context.Reader();
        Findings findings{"get", reader.From().Info(), {{}}, {}};
        for (const std::string& path : paths_) {
            // What was not found keeps its place, so that answers match the paths.
            InstancePtr instance;
            const HRESULT result = reader.Get(velkhost::WideFromUtf8(path), instance);
            if (FAILED(result)) findings.failures.push_back(context.Explain(path, result));
            findings.sections.front().data.instances.push_back(std::move(instance));
        }
        return context.Print(findings);
    }

  private:
    std::vector<std::string> paths_;
};

}  // namespace

std::unique_ptr<Command> MakeGetCommand() { return std::make_unique<GetCommand>(); }

}  // namespace velkpci
