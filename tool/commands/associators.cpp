#include <set>

#include "host/utf8.h"
#include "tool/commands/commands.h"
#include "tool/commands/neighbours.h"
#include "tool/inventory/names.h"

namespace velkpci {
namespace {

class AssociatorsCommand final : public NeighboursCommand {
    const char* Name() const override { return "associators"; }
    const char* Title() const override { return "Associators of "; }

    void Collect(Context& context, const std::vector<Reference>& references, const std::wstring& identity,
                 Findings& findings) override {
        std::set<std::wstring> seen = {identity};
        for (const Reference& reference : references) {
            for (const std::wstring& end : reference.ends) {
                if (seen.insert(PathIdentity(end)).second) Add(context, end, findings);
            }
        }
    }

    static void Add(Context& context, const std::wstring& path, Findings& findings) {
        InstancePtr instance;
        const HRESULT result = context.Reader().Get(path, instance);
        if (SUCCEEDED(result)) {
            findings.sections.front().data.instances.push_back(std::move(instance));
        } else {
            // A reference may name what no class publishes; that is told and is no failure of the command.
            context.Out().Complain(FormatFailure(context.Explain(velkhost::Utf8FromWide(path), result)));
        }
    }
};

}  // namespace

std::unique_ptr<Command> MakeAssociatorsCommand() { return std::make_unique<AssociatorsCommand>(); }

}  // namespace velkpci
