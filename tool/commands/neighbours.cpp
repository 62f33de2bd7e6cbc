#include "tool/commands/neighbours.h"

#include "host/utf8.h"
#include "tool/inventory/names.h"
#include "tool/view/object_view.h"

namespace velkpci {

int NeighboursCommand::Run(Context& context) {
    WmiReader& reader = context.Reader();
    Findings findings{Name(), reader.From().Info(), {}, {}};
    InstancePtr target;
    const HRESULT result = reader.Get(velkhost::WideFromUtf8(path_), target);
    if (FAILED(result)) {
        findings.failures.push_back(context.Explain(path_, result));
        return context.Print(findings);
    }
    const std::wstring identity = PathIdentity(target->relativePath);
    std::vector<FailedClass> failed;
    const std::vector<Reference> references = ReferencesOf(reader, identity, failed);
    for (const FailedClass& each : failed)
        findings.failures.push_back(context.Explain(velkhost::Utf8FromWide(each.name), each.status));
    findings.sections.push_back({Title() + ShortName(*target), {}, false});
    Collect(context, references, identity, findings);
    return context.Print(findings);
}

}  // namespace velkpci
