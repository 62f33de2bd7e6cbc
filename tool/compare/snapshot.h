#pragma once

#include <string>
#include <vector>

#include "host/machine/machine.h"
#include "tool/basics/json.h"

namespace velkpci {

/// One thing of a machine that a comparison can tell of: a slot, a function, a card, a link.
struct Item {
    std::string kind;  ///< "slot"
    std::string id;    ///< tells it from others of its kind: "PCI Slot 3"
    Json properties;   ///< an object: what may change
};

/// What a file says of a machine, in the form in which two are compared.
struct Snapshot {
    enum class Kind { kMachine, kDump };
    Kind kind = Kind::kMachine;
    std::string file;         ///< as the user names it
    std::vector<Item> items;  ///< no two of the same kind and ID
};

/// "a machine file", "a saved dump".
const char* KindName(Snapshot::Kind kind);

/// Reads a machine file or the JSON document of instances that dump prints: the content tells which. Throws
/// InputError, velkhost::MachineError.
Snapshot ReadSnapshot(const std::string& file);

/// The same of text that was read.
Snapshot ParseSnapshot(const std::string& text, const std::string& file);

/// Computer, slots and functions of a machine. Instance IDs are left out: they are names of the operating
/// system's own, and a capture replaces parts of them.
std::vector<Item> ItemsOfMachine(const velkhost::Machine& machine);

/// The instances of a document. Names of the computer are told once, and not by each thing in it. Throws
/// InputError, which names the place, for a document that is none.
std::vector<Item> ItemsOfDump(const Json& document, const std::string& file);

}  // namespace velkpci
