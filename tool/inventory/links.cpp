#include "tool/inventory/links.h"

#include <algorithm>

#include "tool/inventory/names.h"
#include "tool/inventory/qualifiers.h"

namespace velkpci {
namespace {

Reference MakeReference(const InstancePtr& association) {
    Reference reference{association, {}};
    for (std::size_t i = 0; i < association->values.size(); ++i) {
        const auto* path = association->values[i].As<std::wstring>();
        const bool isReference =
            association->definition->properties[i].type == CimType{Cim::kReference, false};
        if (isReference && path != nullptr) reference.ends.push_back(*path);
    }
    return reference;
}

bool LeadsTo(const Reference& reference, const std::wstring& identity) {
    return std::ranges::any_of(reference.ends,
                               [&](const std::wstring& end) { return PathIdentity(end) == identity; });
}

}  // namespace

std::vector<Reference> ReferencesOf(WmiReader& reader, const std::wstring& identity,
                                    std::vector<FailedClass>& failed) {
    std::vector<Reference> found;
    std::vector<std::wstring> names;
    const HRESULT listed = reader.ClassNames(names);
    if (FAILED(listed)) failed.push_back({L"__CLASS", listed});
    for (const std::wstring& name : names) {
        ClassPtr definition;
        const HRESULT known = reader.Definition(name, definition);
        if (FAILED(known) || !IsMarked(*definition, L"Association") || !reader.HasInstances(*definition))
            continue;
        const ClassData data = reader.Enumerate(name);
        if (FAILED(data.status)) failed.push_back({name, data.status});
        for (const InstancePtr& association : data.instances) {
            Reference reference = MakeReference(association);
            if (LeadsTo(reference, identity)) found.push_back(std::move(reference));
        }
    }
    return found;
}

}  // namespace velkpci
