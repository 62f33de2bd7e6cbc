#pragma once

#include <string>
#include <vector>

#include "host/cli/reader.h"
#include "host/model/repository.h"

namespace velkhost::cli {

/// A path in the form in which two ways of writing the same reference are equal: without server, namespace,
/// class and key names in lower case, keys sorted; the values, which are compared exactly, as they are. An
/// unreadable path stays as it is.
std::wstring PathIdentity(const std::wstring& path);

/// One association instance with the paths it links, in the class's order of properties.
struct Link {
    velk::ComPtr<ClassObject> association;
    std::vector<std::wstring> ends;
};

/// The names of the namespace's association classes that have instances of their own (from a provider or
/// static).
std::vector<std::wstring> AssociationClasses(const Repository& repository, const std::wstring& nameSpace);

/// The links of one association class. On failure `out` holds what came before it.
HRESULT ReadLinks(const Reader& reader, const std::wstring& className, std::vector<Link>& out);

/// Whether one of the link's ends is the object of that identity.
bool LinksTo(const Link& link, const std::wstring& identity);

}  // namespace velkhost::cli
