#pragma once

#include "tool/compare/snapshot.h"

namespace velkpci {

/// A property with its values before and after; null for one that is not there.
struct PropertyChange {
    std::string property;
    Json before;
    Json after;
};

/// An item that only one of two snapshots has, or that differs between them.
struct ItemChange {
    enum class How { kRemoved, kAdded, kChanged };
    How how = How::kChanged;
    Item item;                            ///< of the snapshot that has it; of both the second
    std::vector<PropertyChange> changes;  ///< of kChanged
};

struct Difference {
    std::vector<ItemChange> items;  ///< kinds together: computer, slots, functions, then the others
    bool IsEmpty() const { return items.empty(); }
};

/// From the first to the second, which are of one kind: pure.
Difference Compare(const Snapshot& before, const Snapshot& after);

/// For people: a line for each item ("+", "-", "~"), below it its changes, and a last line that counts.
std::string FormatDifference(const Difference& difference);

/// The document "velkpci.diff".
std::string FormatDifferenceAsJson(const Difference& difference, const Snapshot& before,
                                   const Snapshot& after);

}  // namespace velkpci
