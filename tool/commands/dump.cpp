#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/commands/commands.h"

namespace velkpci {
namespace {

class DumpCommand final : public Command {
  public:
    int Run(Context& context) override {
        WmiReader& reader = context.Reader();
        Findings findings{"dump", reader.From().Info(), {}, {}};
        std::vector<std::wstring> names;
        const HRESULT listed = reader.ClassNames(names);
        if (FAILED(listed)) throw WmiError("the classes of " + findings.source.nameSpace, listed);
        for (const std::wstring& name : names) {
            ClassPtr definition;
            const HRESULT result = reader.Definition(name, definition);
            if (SUCCEEDED(result) && !reader.HasInstances(*definition)) continue;
            ClassData data = reader.Enumerate(name);
            const std::string shown = velkhost::Utf8FromWide(name);
            if (FAILED(data.status)) findings.failures.push_back(context.Explain(shown, data.status));
            findings.sections.push_back({shown, std::move(data), true});
        }
        return context.Print(findings);
    }
};

}  // namespace

std::unique_ptr<Command> MakeDumpCommand() { return std::make_unique<DumpCommand>(); }

}  // namespace velkpci
