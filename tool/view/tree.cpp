#include "tool/view/tree.h"

#include <optional>

#include "host/utf8.h"
#include "tool/view/object_view.h"
#include "tool/view/thing_text.h"

namespace velkpci {
namespace {

/// A line of the tree with what hangs below it.
struct Node {
    std::string text;
    std::vector<Node> children;
};

/// "BUS(0)DEV(31)FN(0)  8086:A0A8  description".
Node FunctionNode(const Function& function) {
    std::string text = function.id + "  " + IdsOf(function) + "  " + function.description;
    if (!function.bridgeType.name.empty()) text += "  [bridge: " + function.bridgeType.name + "]";
    return {text, {}};
}

/// "PCI Slot 3: PCI-E x16, PCI Express, hot-plug, not powered, at PCI Slot 3 (position 3)".
std::string SlotText(const Slot& slot, const Location* location) {
    std::string text = slot.tag + ": " + slot.layout.name;
    if (!slot.kind.empty()) text += ", " + slot.kind;
    if (slot.hotPlug) text += ", hot-plug";
    text += slot.powered ? ", powered" : ", not powered";
    if (location != nullptr) text += ", at " + location->name + " (position " + location->position + ")";
    return text;
}

Node MissingNode(const std::string& path) {
    return {ShortNameOfPath(velkhost::WideFromUtf8(path)) + " (published by no class)", {}};
}

class TreeMaker {
  public:
    explicit TreeMaker(const Inventory& inventory) : inventory_(inventory) {}

    Node Make() const {
        const std::string name = NameOf(inventory_.computer);
        Node root{name.empty() ? "Computer" : "Computer " + name, {}};
        for (const Chassis& chassis : inventory_.chassis) root.children.push_back(ChassisNode(chassis));
        AddStrays(root);
        AddByBus(root);
        return root;
    }

  private:
    Node ChassisNode(const Chassis& chassis) const {
        Node node{"Chassis " + ShortName(*chassis.instance), {}};
        for (const std::size_t slot : chassis.slots)
            node.children.push_back(SlotNode(inventory_.slots[slot]));
        for (const std::string& path : chassis.missingSlots) node.children.push_back(MissingNode(path));
        return node;
    }

    Node SlotNode(const Slot& slot) const {
        const Location* location = slot.location ? &inventory_.locations[*slot.location] : nullptr;
        Node node{SlotText(slot, location), {}};
        for (const std::size_t card : slot.cards) node.children.push_back(CardNode(inventory_.cards[card]));
        for (const std::string& path : slot.missingCards) node.children.push_back(MissingNode(path));
        if (node.children.empty()) node.text += " - empty";
        return node;
    }

    Node CardNode(const Card& card) const {
        Node node{card.tag, {}};
        for (const std::size_t function : card.functions)
            node.children.push_back(FunctionNode(inventory_.functions[function]));
        for (const std::string& path : card.missingFunctions) node.children.push_back(MissingNode(path));
        return node;
    }

    /// Slots that no chassis holds, and cards in slots that the firmware does not describe.
    void AddStrays(Node& root) const {
        for (const Slot& slot : inventory_.slots) {
            if (!slot.inChassis) root.children.push_back(SlotNode(slot));
        }
        for (const Card& card : inventory_.cards) {
            if (!card.slots.empty()) continue;
            root.children.push_back(CardNode(card));
            root.children.back().text += " - in a slot that the firmware does not describe";
        }
    }

    void AddByBus(Node& root) const {
        Node outside{"Outside any slot", {}};
        std::optional<std::uint32_t> bus;
        for (const Function& function : inventory_.functions) {
            if (function.card) continue;
            if (bus != function.bus) {
                bus = function.bus;
                outside.children.push_back({"Bus " + std::to_string(*bus), {}});
            }
            outside.children.back().children.push_back(FunctionNode(function));
        }
        if (!outside.children.empty()) root.children.push_back(std::move(outside));
    }

    const Inventory& inventory_;
};

void Draw(const Node& node, const std::string& indent, std::string& out) {
    for (std::size_t i = 0; i < node.children.size(); ++i) {
        const bool isLast = i + 1 == node.children.size();
        out += indent + (isLast ? "└─ " : "├─ ") + node.children[i].text + '\n';
        Draw(node.children[i], indent + (isLast ? "   " : "│  "), out);
    }
}

}  // namespace

std::string FormatTree(const Inventory& inventory) {
    const Node root = TreeMaker(inventory).Make();
    std::string out = root.text + '\n';
    Draw(root, {}, out);
    return out;
}

}  // namespace velkpci
