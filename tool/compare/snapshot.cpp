#include "tool/compare/snapshot.h"

#include <set>

#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/basics/files.h"

namespace velkpci {
namespace {

/// Firmware describes a slot twice, and a broken driver lists a function twice: the second is "... (2)".
void MakeDistinct(std::vector<Item>& items) {
    std::set<std::pair<std::string, std::string>> seen;
    for (Item& item : items) {
        const std::string id = item.id;
        for (int number = 2; !seen.emplace(item.kind, item.id).second; ++number)
            item.id = id + " (" + std::to_string(number) + ")";
    }
}

}  // namespace

const char* KindName(Snapshot::Kind kind) {
    return kind == Snapshot::Kind::kMachine ? "a machine file" : "a saved dump";
}

Snapshot ReadSnapshot(const std::string& file) {
    return ParseSnapshot(ReadTextFile(velkhost::WideFromUtf8(file)), file);
}

Snapshot ParseSnapshot(const std::string& text, const std::string& file) {
    Json document;
    try {
        document = ParseJson(text);
    } catch (const Json::parse_error& error) {
        throw InputError(file + ": " + error.what());
    }
    Snapshot snapshot{Snapshot::Kind::kMachine, file, {}};
    if (document.is_object() && document.contains("document")) {
        snapshot.kind = Snapshot::Kind::kDump;
        snapshot.items = ItemsOfDump(document, file);
    } else {
        snapshot.items = ItemsOfMachine(velkhost::ParseMachine(text, file));
    }
    MakeDistinct(snapshot.items);
    return snapshot;
}

}  // namespace velkpci
