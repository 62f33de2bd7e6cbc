#include "host/path/object_path.h"

#include "fuzz/input.h"

using velkfuzz::Require;
using velkhost::ObjectPath;
using velkhost::SingleIdentifier;

namespace {

void RoundTrip(std::wstring_view text, SingleIdentifier single) {
    const auto path = velkhost::ParseObjectPath(text, single);
    if (!path) return;

    Require(!path->singleton || path->keys.empty(), "a singleton has no keys");
    Require(!path->IsInstance() || !path->className.empty(), "an instance has a class");
    for (const velkhost::PathKey& key : path->keys) {
        Require(!key.name.empty() || path->keys.size() == 1, "an implied key stands alone");
        if (const auto* wide = std::get_if<std::uint64_t>(&key.value)) {
            Require(*wide > static_cast<std::uint64_t>(INT64_MAX),
                    "a number is unsigned only when it must be");
        }
    }

    const std::wstring local = velkhost::FormatLocalPath(*path);
    ObjectPath expected = *path;
    expected.server.clear();
    // Without its server a text of one name reads as a class or a namespace, as the caller says.
    Require(velkhost::ParseObjectPath(local, single) == expected, "the local form parses to the same path");

    const std::wstring full = velkhost::FormatFullPath(*path);
    expected.server = path->server.empty() ? L"." : path->server;
    Require(velkhost::ParseObjectPath(full, single) == expected, "the full form parses to the same path");

    Require(full.ends_with(local) && local.ends_with(velkhost::FormatRelativePath(*path)),
            "the shorter forms end the longer ones");
}

}  // namespace

// A text that is a path comes back as the same path from each form that is written of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const velkfuzz::WideInput input(data, size);
    RoundTrip(input.Text(), SingleIdentifier::kClass);
    RoundTrip(input.Text(), SingleIdentifier::kNamespace);
    return 0;
}
