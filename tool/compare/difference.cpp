#include "tool/compare/difference.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "tool/view/json_view.h"

namespace velkpci {
namespace {

using Key = std::pair<std::string, std::string>;
using How = ItemChange::How;

Key KeyOf(const Item& item) { return {item.kind, item.id}; }

std::map<Key, const Item*> Index(const Snapshot& snapshot) {
    std::map<Key, const Item*> index;
    for (const Item& item : snapshot.items) index.emplace(KeyOf(item), &item);
    return index;
}

std::vector<PropertyChange> ChangesOf(const Json& before, const Json& after) {
    std::vector<PropertyChange> changes;
    for (const auto& [name, value] : before.items()) {
        const Json other = after.value(name, Json());
        if (other != value) changes.push_back({name, value, other});
    }
    for (const auto& [name, value] : after.items()) {
        if (!before.contains(name) && !value.is_null()) changes.push_back({name, Json(), value});
    }
    return changes;
}

/// The order in which people look: what they see from outside first.
std::size_t Rank(const Item& item) {
    constexpr const char* kOrder[] = {"class", "computer", "chassis", "slot", "location", "card", "function"};
    return static_cast<std::size_t>(
        std::ranges::find_if(kOrder, [&](const char* kind) { return item.kind == kind; }) -
        std::begin(kOrder));
}

/// The text that a person knows a thing by, beside its ID.
std::string Caption(const Item& item) {
    for (const char* name : {"Description", "DeviceDesc", "designation"}) {
        const auto found = item.properties.find(name);
        if (found != item.properties.end() && found->is_string() && *found != item.id)
            return "  " + found->get<std::string>();
    }
    return {};
}

std::string Show(const Json& value) {
    if (value.is_null()) return "(none)";
    if (value.is_string()) return value.get<std::string>();
    return JsonText(value);
}

/// "HardwareID: A -> B"; of two lists the first elements that differ, with how many do.
std::string ShowChange(const PropertyChange& change) {
    const Json &before = change.before, &after = change.after;
    if (!before.is_array() || !after.is_array())
        return change.property + ": " + Show(before) + " -> " + Show(after);
    const auto at = [](const Json& list, std::size_t i) { return i < list.size() ? list[i] : Json(); };
    std::size_t differing = 0, first = 0;
    for (std::size_t i = std::max(before.size(), after.size()); i-- > 0;) {
        if (at(before, i) == at(after, i)) continue;
        first = i;
        ++differing;
    }
    return change.property + "[" + std::to_string(first) + "]: " + Show(at(before, first)) + " -> " +
           Show(at(after, first)) +
           (differing > 1 ? ", and " + std::to_string(differing - 1) + " more" : std::string());
}

Json ItemToJson(const Item& item) {
    return {{"kind", item.kind}, {"id", item.id}, {"properties", item.properties}};
}

Json ChangeToJson(const ItemChange& change) {
    Json changes = Json::array();
    for (const PropertyChange& each : change.changes)
        changes.push_back({{"property", each.property}, {"before", each.before}, {"after", each.after}});
    return {{"kind", change.item.kind}, {"id", change.item.id}, {"changes", std::move(changes)}};
}

std::size_t Count(const Difference& difference, How how) {
    return static_cast<std::size_t>(
        std::ranges::count_if(difference.items, [&](const ItemChange& each) { return each.how == how; }));
}

}  // namespace

Difference Compare(const Snapshot& before, const Snapshot& after) {
    const auto old = Index(before), made = Index(after);
    Difference difference;
    for (const Item& item : before.items) {
        const auto other = made.find(KeyOf(item));
        if (other == made.end()) {
            difference.items.push_back({How::kRemoved, item, {}});
            continue;
        }
        auto changes = ChangesOf(item.properties, other->second->properties);
        if (!changes.empty()) difference.items.push_back({How::kChanged, *other->second, std::move(changes)});
    }
    for (const Item& item : after.items) {
        if (!old.contains(KeyOf(item))) difference.items.push_back({How::kAdded, item, {}});
    }
    std::ranges::stable_sort(difference.items, {}, [](const ItemChange& each) { return Rank(each.item); });
    return difference;
}

std::string FormatDifference(const Difference& difference) {
    if (difference.IsEmpty()) return "No difference.\n";
    std::string out;
    for (const ItemChange& change : difference.items) {
        const char* sign = change.how == How::kAdded ? "+ " : change.how == How::kRemoved ? "- " : "~ ";
        out += sign + change.item.kind + " " + change.item.id + Caption(change.item) + "\n";
        for (const PropertyChange& each : change.changes) out += "    " + ShowChange(each) + "\n";
    }
    return out + "\n" + std::to_string(Count(difference, How::kAdded)) + " added, " +
           std::to_string(Count(difference, How::kRemoved)) + " removed, " +
           std::to_string(Count(difference, How::kChanged)) + " changed.\n";
}

std::string FormatDifferenceAsJson(const Difference& difference, const Snapshot& before,
                                   const Snapshot& after) {
    Json added = Json::array(), removed = Json::array(), changed = Json::array();
    for (const ItemChange& change : difference.items) {
        if (change.how == How::kAdded) added.push_back(ItemToJson(change.item));
        if (change.how == How::kRemoved) removed.push_back(ItemToJson(change.item));
        if (change.how == How::kChanged) changed.push_back(ChangeToJson(change));
    }
    return PrintJson({{"document", "velkpci.diff"},
                      {"version", kJsonVersion},
                      {"compares", before.kind == Snapshot::Kind::kMachine ? "machines" : "dumps"},
                      {"before", before.file},
                      {"after", after.file},
                      {"equal", difference.IsEmpty()},
                      {"added", std::move(added)},
                      {"removed", std::move(removed)},
                      {"changed", std::move(changed)}});
}

}  // namespace velkpci
