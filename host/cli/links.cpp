#include "host/cli/links.h"

#include <algorithm>

#include "host/path/object_path.h"

namespace velkhost::cli {
namespace {

/// Names of classes and properties are ASCII.
std::wstring Lower(std::wstring name) {
    for (wchar_t& c : name) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    return name;
}

bool IsTrue(const QualifierDef* qualifier) {
    const bool* truth = qualifier == nullptr ? nullptr : qualifier->value.As<bool>();
    return truth != nullptr && *truth;
}

}  // namespace

std::wstring PathIdentity(const std::wstring& path) {
    auto parsed = ParseObjectPath(path);
    if (!parsed) return path;
    parsed->className = Lower(parsed->className);
    for (PathKey& key : parsed->keys) key.name = Lower(key.name);
    std::sort(parsed->keys.begin(), parsed->keys.end(),
              [](const PathKey& left, const PathKey& right) { return left.name < right.name; });
    return FormatRelativePath(*parsed);
}

std::vector<std::wstring> AssociationClasses(const Repository& repository, const std::wstring& nameSpace) {
    std::vector<std::wstring> names;
    for (const std::wstring& name : repository.ClassNames(nameSpace)) {
        const ClassPtr definition = repository.FindClass(nameSpace, name);
        if (!IsTrue(FindQualifier(definition->qualifiers, L"Association"))) continue;
        HRESULT failure = S_OK;
        const bool isServed =
            repository.FindProvider(nameSpace, name, failure).has_value() || FAILED(failure);
        const auto statics = repository.StaticInstances(nameSpace, name);
        const bool hasOwn = std::any_of(statics.begin(), statics.end(), [&](const auto& instance) {
            return instance->ClassPointer() == definition;
        });
        if (isServed || hasOwn) names.push_back(name);
    }
    return names;
}

HRESULT ReadLinks(const Reader& reader, const std::wstring& className, std::vector<Link>& out) {
    Objects associations;
    const HRESULT result = reader.Enumerate(className, associations);
    for (auto& association : associations) {
        Link link{association, {}};
        const auto& properties = association->Class().properties;
        for (std::size_t i = 0; i < properties.size(); ++i) {
            const auto* path = association->At(i).As<std::wstring>();
            if (properties[i].type == CimType{Cim::kReference, false} && path != nullptr)
                link.ends.push_back(*path);
        }
        out.push_back(std::move(link));
    }
    return result;
}

bool LinksTo(const Link& link, const std::wstring& identity) {
    return std::any_of(link.ends.begin(), link.ends.end(),
                       [&](const std::wstring& end) { return PathIdentity(end) == identity; });
}

}  // namespace velkhost::cli
