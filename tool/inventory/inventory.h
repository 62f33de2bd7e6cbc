#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/inventory/instance.h"
#include "tool/source/source.h"

namespace velkpci {

class WmiReader;

// One machine as plain data, read once. Every thing keeps its instance, with class, path and all properties;
// the fields beside it are what views ask for, as UTF-8 texts and plain numbers, empty or 0 where the
// instance has NULL. Things refer to each other by index into the inventory's lists.

/// A number with the name that its class's value map gives it.
struct MappedNumber {
    std::optional<std::uint64_t> value;
    std::string name;  ///< the number itself when the value map has no name; empty for NULL
};

/// A PCI function, bridges included.
struct Function {
    InstancePtr instance;
    std::string path;  ///< as references name it; so too below
    std::string id;    ///< "BUS(0)DEV(31)FN(0)"
    std::uint32_t bus = 0;
    std::uint32_t device = 0;
    std::uint32_t function = 0;
    std::uint16_t vendorId = 0;
    std::uint16_t deviceId = 0;
    std::uint32_t classCode = 0;
    std::string description;
    bool isBridge = false;
    MappedNumber bridgeType;                  ///< of a bridge
    std::optional<std::size_t> card;          ///< the card that carries it
    std::optional<std::uint32_t> slotNumber;  ///< of the slot that it sits in or, as a bridge, leads to
};

struct Card {
    InstancePtr instance;
    std::string path;
    std::string tag;  ///< "PCI Card 3"
    MappedNumber layout;
    std::vector<std::size_t> functions;
    std::vector<std::string> missingFunctions;  ///< paths that lead to no instance
    std::vector<std::size_t> slots;  ///< that hold it; none when the firmware describes no such slot
};

struct Location {
    InstancePtr instance;
    std::string path;
    std::string name;
    std::string position;
};

struct Slot {
    InstancePtr instance;
    std::string path;
    std::string tag;                      ///< "PCI Slot 3"
    std::optional<std::uint32_t> number;  ///< as printed on the chassis
    MappedNumber layout;                  ///< "PCI-E x16"
    std::optional<std::uint32_t> lanes;   ///< that the layout tells, of PCI Express alone
    std::string kind;                     ///< "PCI Express"
    bool hotPlug = false;
    bool powered = false;
    std::optional<std::size_t> location;
    std::vector<std::size_t> cards;  ///< none: empty
    std::vector<std::string> missingCards;
    bool inChassis = false;  ///< whether a chassis names it
};

struct Chassis {
    InstancePtr instance;
    std::string path;
    std::string name;
    std::vector<std::size_t> slots;  ///< in the order of the association
    std::vector<std::string> missingSlots;
};

struct Computer {
    std::string path;  ///< as the functions' references name it; empty when nothing does
    std::string name;  ///< the computer's own name; empty when nothing tells it
};

/// One association instance with what it ties together.
struct Link {
    InstancePtr instance;
    std::string from;  ///< the whole: system, chassis, slot or card
    std::string to;    ///< the part
};

struct Inventory {
    SourceInfo source;
    std::vector<ClassData> classes;  ///< as read, with statuses: a failed class is not an empty one
    Computer computer;
    std::vector<Chassis> chassis;
    std::vector<Slot> slots;
    std::vector<Location> locations;
    std::vector<Card> cards;
    std::vector<Function> functions;  ///< by bus, device and function
    std::vector<Link> links;

    /// What was read of a class, or null when it was not asked for.
    const ClassData* Class(std::wstring_view name) const;
};

/// Whether a class answered to its end: what it did not tell is then not there.
bool WasRead(const Inventory& inventory, std::wstring_view className);

/// Whether a class that failed means a failure: the suite's two classes may be missing from a machine.
bool IsFailure(const ClassData& data);

/// The classes that make an inventory, in the order in which they are to be read.
const std::vector<const wchar_t*>& InventoryClasses();

/// The inventory of classes that were read, wherever from: pure.
Inventory BuildInventory(SourceInfo source, std::vector<ClassData> classes);

/// Asks a source for the classes, and builds it.
Inventory ReadInventory(WmiReader& reader);

}  // namespace velkpci
