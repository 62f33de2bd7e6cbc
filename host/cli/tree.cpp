#include "host/cli/tree.h"

#include <cstdio>
#include <map>
#include <set>
#include <tuple>

#include "host/cli/links.h"
#include "host/cli/object_view.h"
#include "host/com/wbem_codes.h"
#include "host/utf8.h"

namespace velkhost::cli {
namespace {

constexpr const wchar_t* kComputerClass = L"Velk_WinComputerSystem";

/// The value of a property, or null when the class lacks it.
const Value* Find(const ClassObject& object, const wchar_t* property) {
    const std::size_t index = object.Class().IndexOf(property);
    return index == ClassDef::kNone ? nullptr : &object.At(index);
}

std::string Text(const ClassObject& object, const wchar_t* property) {
    const Value* value = Find(object, property);
    return value == nullptr ? std::string() : Utf8FromWide(ToText(*value));
}

std::uint64_t Number(const ClassObject& object, const wchar_t* property) {
    const Value* value = Find(object, property);
    const auto* number = value == nullptr ? nullptr : value->As<std::uint64_t>();
    return number == nullptr ? 0 : *number;
}

bool IsTrue(const ClassObject& object, const wchar_t* property) {
    const Value* value = Find(object, property);
    const bool* truth = value == nullptr ? nullptr : value->As<bool>();
    return truth != nullptr && *truth;
}

/// The name of a mapped number; without one, the number.
std::string Mapped(const ClassObject& object, const wchar_t* property) {
    const PropertyDef* definition = object.Class().Find(property);
    const Value* value = Find(object, property);
    if (definition == nullptr || value->IsNull()) return {};
    return Utf8FromWide(ValueName(*definition, *value).value_or(ToText(*value)));
}

std::string Path(const ClassObject& object) {
    return Utf8FromWide(object.FullPath().value_or(std::wstring()));
}

std::wstring Identity(const ClassObject& object) {
    return PathIdentity(object.RelativePath().value_or(std::wstring()));
}

/// "BUS(0)DEV(31)FN(0)  8086:A0A8  description".
TreeNode FunctionNode(const ClassObject& function) {
    char ids[16];
    std::snprintf(ids, sizeof(ids), "%04X:%04X", static_cast<unsigned>(Number(function, L"VendorID")),
                  static_cast<unsigned>(Number(function, L"PCIDeviceID")));
    std::string text = Text(function, L"DeviceID") + "  " + ids + "  " + Text(function, L"Description");
    const std::string bridge = Mapped(function, L"BridgeType");
    if (!bridge.empty()) text += "  [bridge: " + bridge + "]";
    return {text, Path(function), {}};
}

/// "PCI Slot 3: PCI-E x16, PCI Express, hot-plug, not powered, at PCI Slot 3 (position 3)".
std::string SlotText(const ClassObject& slot, const ClassObject* location) {
    std::string text = Text(slot, L"Tag") + ": " + Mapped(slot, L"ConnectorLayout");
    const std::string kind = Text(slot, L"ConnectorPinout");
    if (!kind.empty()) text += ", " + kind;
    if (IsTrue(slot, L"SupportsHotPlug")) text += ", hot-plug";
    text += IsTrue(slot, L"PoweredOn") ? ", powered" : ", not powered";
    if (location != nullptr) {
        text +=
            ", at " + Text(*location, L"Name") + " (position " + Text(*location, L"PhysicalPosition") + ")";
    }
    return text;
}

auto Place(const ClassObject& function) {
    return std::tuple(Number(function, L"BusNumber"), Number(function, L"DeviceNumber"),
                      Number(function, L"FunctionNumber"));
}

class TreeReader {
  public:
    using Fail = std::function<void(const std::wstring&, HRESULT)>;

    TreeReader(const Reader& reader, const Fail& fail) : reader_(reader), fail_(fail) {}

    TreeNode Read() {
        // The bridges come first: a hot-plug slot counts as powered by what the last bridge enumeration
        // found.
        const Objects bridges = Instances(L"Velk_PCIBridge");
        const Objects functions = Instances(L"Velk_PCIDevice");
        slots_ = Instances(L"Velk_PCISlot");
        for (const wchar_t* name :
             {L"Velk_PCISlotLocation", L"Velk_PCICard", L"Velk_ComputerSystemChassis"}) {
            Remember(Instances(name));
        }
        Remember(bridges);
        Remember(functions);
        Remember(slots_);
        for (const wchar_t* name :
             {L"Velk_SystemPCISlot", L"Velk_PCISlotElementLocation", L"Velk_PCICardInSlot",
              L"Velk_RealizesPCIDevice", L"Velk_SystemPCIDevice"}) {
            ReadEdges(name);
        }
        TreeNode root = Computer();
        for (const auto& [identity, object] : objects_) {
            if (SameName(object->Class().name, L"Velk_ComputerSystemChassis"))
                root.children.push_back(Chassis(*object));
        }
        AddStraySlots(root);
        AddByBus(root, functions, bridges);
        return root;
    }

  private:
    Objects Instances(const wchar_t* className) {
        Objects objects;
        const HRESULT result = reader_.Enumerate(className, objects);
        if (FAILED(result) && result != kWbemInvalidClass) fail_(className, result);
        return objects;
    }

    void Remember(const Objects& objects) {
        for (const auto& object : objects) objects_.emplace(Identity(*object), object);
    }

    /// Every association here has two ends, the whole first, as the classes declare them.
    void ReadEdges(const wchar_t* className) {
        std::vector<Link> links;
        const HRESULT result = ReadLinks(reader_, className, links);
        if (FAILED(result) && result != kWbemInvalidClass) fail_(className, result);
        for (const Link& link : links) {
            if (link.ends.size() != 2) continue;
            if (SameName(className, L"Velk_SystemPCIDevice")) computerPath_ = link.ends[0];
            edges_[className][PathIdentity(link.ends[0])].push_back(link.ends[1]);
        }
    }

    std::vector<std::wstring> Targets(const wchar_t* className, const ClassObject& from) const {
        const auto edges = edges_.find(className);
        if (edges == edges_.end()) return {};
        const auto found = edges->second.find(Identity(from));
        return found == edges->second.end() ? std::vector<std::wstring>() : found->second;
    }

    const ClassObject* Object(const std::wstring& path) const {
        const auto found = objects_.find(PathIdentity(path));
        return found == objects_.end() ? nullptr : found->second.Get();
    }

    /// The association's first end is the computer; without any function the class stands for it.
    TreeNode Computer() const {
        if (computerPath_.empty()) return {Utf8FromWide(kComputerClass), {}, {}};
        return {"Computer " + ShortNameOfPath(computerPath_), Utf8FromWide(computerPath_), {}};
    }

    TreeNode Chassis(const ClassObject& chassis) {
        TreeNode node{"Chassis " + ShortName(chassis), Path(chassis), {}};
        for (const std::wstring& path : Targets(L"Velk_SystemPCISlot", chassis)) {
            const ClassObject* slot = Object(path);
            node.children.push_back(slot != nullptr ? Slot(*slot) : Missing(path));
        }
        return node;
    }

    TreeNode Slot(const ClassObject& slot) {
        shown_.insert(Identity(slot));
        const ClassObject* location = nullptr;
        for (const std::wstring& path : Targets(L"Velk_PCISlotElementLocation", slot))
            location = Object(path);
        TreeNode node{SlotText(slot, location), Path(slot), {}};
        for (const std::wstring& path : Targets(L"Velk_PCICardInSlot", slot)) {
            const ClassObject* card = Object(path);
            node.children.push_back(card != nullptr ? Card(*card) : Missing(path));
        }
        if (node.children.empty()) node.text += " - empty";
        return node;
    }

    TreeNode Card(const ClassObject& card) {
        shown_.insert(Identity(card));
        TreeNode node{Text(card, L"Tag"), Path(card), {}};
        for (const std::wstring& path : Targets(L"Velk_RealizesPCIDevice", card)) {
            const ClassObject* function = Object(path);
            shown_.insert(PathIdentity(path));
            node.children.push_back(function != nullptr ? FunctionNode(*function) : Missing(path));
        }
        return node;
    }

    static TreeNode Missing(const std::wstring& path) {
        return {ShortNameOfPath(path) + " (published by no class)", Utf8FromWide(path), {}};
    }

    /// Slots that no chassis holds, and cards in slots that the firmware does not describe.
    void AddStraySlots(TreeNode& root) {
        for (const auto& slot : slots_) {
            if (!shown_.contains(Identity(*slot))) root.children.push_back(Slot(*slot));
        }
        for (const auto& [identity, object] : objects_) {
            const bool isCard = SameName(object->Class().name, L"Velk_PCICard");
            if (!isCard || shown_.contains(identity)) continue;
            root.children.push_back(Card(*object));
            root.children.back().text += " - in a slot that the firmware does not describe";
        }
    }

    void AddByBus(TreeNode& root, const Objects& functions, const Objects& bridges) const {
        std::map<decltype(Place(*functions[0])), std::vector<const ClassObject*>> byPlace;
        for (const Objects* list : {&functions, &bridges}) {
            for (const auto& object : *list) {
                if (!shown_.contains(Identity(*object))) byPlace[Place(*object)].push_back(object.Get());
            }
        }
        TreeNode outside{"Outside any slot", {}, {}};
        std::optional<std::uint64_t> bus;
        for (const auto& [place, objects] : byPlace) {
            if (bus != std::get<0>(place)) {
                bus = std::get<0>(place);
                outside.children.push_back({"Bus " + std::to_string(*bus), {}, {}});
            }
            for (const ClassObject* object : objects)
                outside.children.back().children.push_back(FunctionNode(*object));
        }
        if (!outside.children.empty()) root.children.push_back(std::move(outside));
    }

    const Reader& reader_;
    const Fail& fail_;
    Objects slots_;
    std::map<std::wstring, velk::ComPtr<ClassObject>> objects_;  ///< by identity
    /// By association class, then by identity of the first end: the second ends in order of delivery.
    std::map<std::wstring, std::map<std::wstring, std::vector<std::wstring>>> edges_;
    std::wstring computerPath_;  ///< as a reference writes it
    std::set<std::wstring> shown_;
};

void Draw(const TreeNode& node, const std::string& indent, std::string& out) {
    for (std::size_t i = 0; i < node.children.size(); ++i) {
        const bool isLast = i + 1 == node.children.size();
        out += indent + (isLast ? "└─ " : "├─ ") + node.children[i].text + '\n';
        Draw(node.children[i], indent + (isLast ? "   " : "│  "), out);
    }
}

}  // namespace

TreeNode ReadTree(const Reader& reader, const std::function<void(const std::wstring&, HRESULT)>& fail) {
    return TreeReader(reader, fail).Read();
}

std::string FormatTree(const TreeNode& root) {
    std::string out = root.text + '\n';
    Draw(root, {}, out);
    return out;
}

nlohmann::ordered_json ToJson(const TreeNode& node) {
    nlohmann::ordered_json json;
    json["text"] = node.text;
    json["path"] = node.path.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(node.path);
    json["children"] = nlohmann::ordered_json::array();
    for (const TreeNode& child : node.children) json["children"].push_back(ToJson(child));
    return json;
}

}  // namespace velkhost::cli
