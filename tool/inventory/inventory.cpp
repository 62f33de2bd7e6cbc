#include "tool/inventory/inventory.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <tuple>

#include "host/com/wbem_codes.h"
#include "host/path/object_path.h"
#include "host/utf8.h"
#include "tool/inventory/names.h"
#include "tool/inventory/wmi_reader.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;
using velkhost::WideFromUtf8;

constexpr const wchar_t* kChassisClass = L"Velk_ComputerSystemChassis";
constexpr const wchar_t* kComputerClass = L"Velk_WinComputerSystem";

std::string Text(const Instance& instance, const wchar_t* property) {
    const Value* value = instance.Find(property);
    return value == nullptr ? std::string() : Utf8FromWide(velkhost::ToText(*value));
}

template <class Number>
Number Unsigned(const Instance& instance, const wchar_t* property) {
    const Value* value = instance.Find(property);
    const auto* number = value == nullptr ? nullptr : value->As<std::uint64_t>();
    return number == nullptr ? Number{0} : static_cast<Number>(*number);
}

bool IsTrue(const Instance& instance, const wchar_t* property) {
    const Value* value = instance.Find(property);
    const bool* truth = value == nullptr ? nullptr : value->As<bool>();
    return truth != nullptr && *truth;
}

MappedNumber Mapped(const Instance& instance, const wchar_t* property) {
    const PropertyDef* definition = instance.definition->Find(property);
    if (definition == nullptr) return {};
    const Value& value = *instance.Find(property);
    const auto* number = value.As<std::uint64_t>();
    if (number == nullptr) return {};
    return {*number, Utf8FromWide(ValueName(*definition, value).value_or(velkhost::ToText(value)))};
}

/// The layouts from 19 to 25 are PCI Express with 1, 2, 4 ... 64 lanes.
std::optional<std::uint32_t> LanesOf(const MappedNumber& layout) {
    if (!layout.value || *layout.value < 19 || *layout.value > 25) return std::nullopt;
    return 1u << (*layout.value - 19);
}

/// The number of the slot, which stands as text at the place of capability 11 (slot number).
std::optional<std::uint32_t> SlotNumberOf(const Instance& instance) {
    const Value* capabilities = instance.Find(L"Capabilities");
    const Value* descriptions = instance.Find(L"CapabilityDescriptions");
    const auto* numbers = capabilities == nullptr ? nullptr : capabilities->As<Value::List>();
    const auto* texts = descriptions == nullptr ? nullptr : descriptions->As<Value::List>();
    if (numbers == nullptr || texts == nullptr) return std::nullopt;
    for (std::size_t i = 0; i < std::min(numbers->size(), texts->size()); ++i) {
        const auto* number = (*numbers)[i].As<std::uint64_t>();
        if (number == nullptr || *number != 11) continue;
        const std::string text = Utf8FromWide(velkhost::ToText((*texts)[i]));
        std::uint32_t slot = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), slot);
        if (error == std::errc() && end == text.data() + text.size()) return slot;
    }
    return std::nullopt;
}

Function MakeFunction(const InstancePtr& instance, bool isBridge) {
    Function made;
    made.instance = instance;
    made.path = Utf8FromWide(instance->path);
    made.id = Text(*instance, L"DeviceID");
    made.bus = Unsigned<std::uint32_t>(*instance, L"BusNumber");
    made.device = Unsigned<std::uint32_t>(*instance, L"DeviceNumber");
    made.function = Unsigned<std::uint32_t>(*instance, L"FunctionNumber");
    made.vendorId = Unsigned<std::uint16_t>(*instance, L"VendorID");
    made.deviceId = Unsigned<std::uint16_t>(*instance, L"PCIDeviceID");
    made.classCode = Unsigned<std::uint32_t>(*instance, L"ClassCode");
    made.description = Text(*instance, L"Description");
    made.isBridge = isBridge;
    made.bridgeType = Mapped(*instance, L"BridgeType");
    made.slotNumber = SlotNumberOf(*instance);
    return made;
}

Slot MakeSlot(const InstancePtr& instance) {
    Slot made;
    made.instance = instance;
    made.path = Utf8FromWide(instance->path);
    made.tag = Text(*instance, L"Tag");
    const Value* number = instance->Find(L"Number");
    if (number != nullptr && !number->IsNull()) made.number = Unsigned<std::uint32_t>(*instance, L"Number");
    made.layout = Mapped(*instance, L"ConnectorLayout");
    made.lanes = LanesOf(made.layout);
    made.kind = Text(*instance, L"ConnectorPinout");
    made.hotPlug = IsTrue(*instance, L"SupportsHotPlug");
    made.powered = IsTrue(*instance, L"PoweredOn");
    return made;
}

Card MakeCard(const InstancePtr& instance) {
    Card made;
    made.instance = instance;
    made.path = Utf8FromWide(instance->path);
    made.tag = Text(*instance, L"Tag");
    made.layout = Mapped(*instance, L"BusLayout");
    return made;
}

/// Fills an inventory's lists and ties them together.
class Builder {
  public:
    explicit Builder(Inventory& inventory) : inventory_(inventory) {}

    void Build() {
        MakeThings();
        Tie();
        NameComputer();
    }

  private:
    using Index = std::map<std::wstring, std::size_t>;  ///< by identity of the path

    const Instances& Of(const wchar_t* className) const {
        static const Instances kNone;
        const ClassData* data = inventory_.Class(className);
        return data == nullptr ? kNone : data->instances;
    }

    void MakeThings() {
        for (const InstancePtr& each : Of(L"Velk_PCIDevice"))
            inventory_.functions.push_back(MakeFunction(each, false));
        for (const InstancePtr& each : Of(L"Velk_PCIBridge"))
            inventory_.functions.push_back(MakeFunction(each, true));
        std::ranges::stable_sort(inventory_.functions, {}, [](const Function& each) {
            return std::tuple(each.bus, each.device, each.function);
        });
        for (const InstancePtr& each : Of(L"Velk_PCISlot")) inventory_.slots.push_back(MakeSlot(each));
        for (const InstancePtr& each : Of(L"Velk_PCICard")) inventory_.cards.push_back(MakeCard(each));
        for (const InstancePtr& each : Of(L"Velk_PCISlotLocation")) {
            inventory_.locations.push_back(
                {each, Utf8FromWide(each->path), Text(*each, L"Name"), Text(*each, L"PhysicalPosition")});
        }
        for (const InstancePtr& each : Of(kChassisClass))
            inventory_.chassis.push_back({each, Utf8FromWide(each->path), Text(*each, L"Tag"), {}, {}});
        Remember(inventory_.functions, functions_);
        Remember(inventory_.slots, slots_);
        Remember(inventory_.cards, cards_);
        Remember(inventory_.locations, locations_);
        Remember(inventory_.chassis, chassis_);
    }

    /// Of several things with the same path the first one counts, as for a get by path.
    template <class Thing>
    static void Remember(const std::vector<Thing>& things, Index& index) {
        for (std::size_t i = 0; i < things.size(); ++i)
            index.emplace(PathIdentity(things[i].instance->relativePath), i);
    }

    static std::optional<std::size_t> Find(const Index& index, const std::string& path) {
        const auto found = index.find(PathIdentity(WideFromUtf8(path)));
        return found == index.end() ? std::nullopt : std::optional(found->second);
    }

    /// The association's instances; each has two references, the whole first, as the classes declare them.
    std::vector<Link> LinksOf(const wchar_t* className) {
        std::vector<Link> links;
        for (const InstancePtr& each : Of(className)) {
            std::vector<std::string> ends;
            for (std::size_t i = 0; i < each->values.size(); ++i) {
                const auto* path = each->values[i].As<std::wstring>();
                const bool isReference =
                    each->definition->properties[i].type == CimType{Cim::kReference, false};
                if (isReference && path != nullptr) ends.push_back(Utf8FromWide(*path));
            }
            if (ends.size() == 2) links.push_back({each, ends[0], ends[1]});
        }
        inventory_.links.insert(inventory_.links.end(), links.begin(), links.end());
        return links;
    }

    void Tie() {
        for (const Link& link : LinksOf(L"Velk_SystemPCISlot")) {
            const auto chassis = Find(chassis_, link.from);
            const auto slot = Find(slots_, link.to);
            if (slot && chassis) inventory_.slots[*slot].inChassis = true;
            if (!chassis) continue;
            Chassis& whole = inventory_.chassis[*chassis];
            slot ? whole.slots.push_back(*slot) : whole.missingSlots.push_back(link.to);
        }
        for (const Link& link : LinksOf(L"Velk_PCISlotElementLocation")) {
            const auto slot = Find(slots_, link.from);
            if (slot) inventory_.slots[*slot].location = Find(locations_, link.to);
        }
        for (const Link& link : LinksOf(L"Velk_PCICardInSlot")) {
            const auto slot = Find(slots_, link.from);
            const auto card = Find(cards_, link.to);
            if (slot && card) inventory_.cards[*card].slots.push_back(*slot);
            if (!slot) continue;
            Slot& whole = inventory_.slots[*slot];
            card ? whole.cards.push_back(*card) : whole.missingCards.push_back(link.to);
        }
        for (const Link& link : LinksOf(L"Velk_RealizesPCIDevice")) {
            const auto card = Find(cards_, link.from);
            const auto function = Find(functions_, link.to);
            if (function && card) inventory_.functions[*function].card = *card;
            if (!card) continue;
            Card& whole = inventory_.cards[*card];
            function ? whole.functions.push_back(*function) : whole.missingFunctions.push_back(link.to);
        }
        for (const Link& link : LinksOf(L"Velk_SystemPCIDevice")) inventory_.computer.path = link.from;
    }

    void NameComputer() {
        Computer& computer = inventory_.computer;
        const auto path = velkhost::ParseObjectPath(WideFromUtf8(computer.path));
        for (std::size_t i = 0; path && i < path->keys.size(); ++i) {
            const auto* name = std::get_if<std::wstring>(&path->keys[i].value);
            if (name != nullptr && SameName(path->keys[i].name, L"Name")) computer.name = Utf8FromWide(*name);
        }
        if (computer.name.empty() && !inventory_.functions.empty())
            computer.name = Text(*inventory_.functions.front().instance, L"SystemName");
    }

    Inventory& inventory_;
    Index functions_, slots_, cards_, locations_, chassis_;
};

}  // namespace

const ClassData* Inventory::Class(std::wstring_view name) const {
    const auto found =
        std::ranges::find_if(classes, [&](const ClassData& each) { return SameName(each.name, name); });
    return found == classes.end() ? nullptr : &*found;
}

bool WasRead(const Inventory& inventory, std::wstring_view className) {
    const ClassData* data = inventory.Class(className);
    return data != nullptr && SUCCEEDED(data->status);
}

bool IsFailure(const ClassData& data) {
    if (SUCCEEDED(data.status)) return false;
    const bool isOfSuite = SameName(data.name, kChassisClass) || SameName(data.name, kComputerClass);
    return !isOfSuite || data.status != velkhost::kWbemInvalidClass;
}

const std::vector<const wchar_t*>& InventoryClasses() {
    // The bridges come first: a hot-plug slot counts as powered by what the last bridge enumeration found.
    static const std::vector<const wchar_t*> kClasses = {
        L"Velk_PCIBridge",     L"Velk_PCIDevice",
        L"Velk_PCISlot",       L"Velk_PCISlotLocation",
        L"Velk_PCICard",       kComputerClass,
        kChassisClass,         L"Velk_SystemPCIDevice",
        L"Velk_SystemPCISlot", L"Velk_PCISlotElementLocation",
        L"Velk_PCICardInSlot", L"Velk_RealizesPCIDevice"};
    return kClasses;
}

Inventory BuildInventory(SourceInfo source, std::vector<ClassData> classes) {
    Inventory inventory;
    inventory.source = std::move(source);
    inventory.classes = std::move(classes);
    Builder(inventory).Build();
    return inventory;
}

Inventory ReadInventory(WmiReader& reader) {
    std::vector<ClassData> classes;
    for (const wchar_t* name : InventoryClasses()) classes.push_back(reader.Enumerate(name));
    return BuildInventory(reader.From().Info(), std::move(classes));
}

}  // namespace velkpci
