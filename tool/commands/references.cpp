#include "tool/commands/commands.h"
#include "tool/commands/neighbours.h"

namespace velkpci {
namespace {

class ReferencesCommand final : public NeighboursCommand {
    const char* Name() const override { return "references"; }
    const char* Title() const override { return "References of "; }
    void Collect(Context&, const std::vector<Reference>& references, const std::wstring&,
                 Findings& findings) override {
        for (const Reference& reference : references)
            findings.sections.front().data.instances.push_back(reference.association);
    }
};

}  // namespace

std::unique_ptr<Command> MakeReferencesCommand() { return std::make_unique<ReferencesCommand>(); }

}  // namespace velkpci
