#include "host/utf8.h"
#include "tool/view/json_view.h"
#include "tool/view/tree.h"

namespace velkpci {
namespace {

Json FunctionToJson(const Function& function) {
    return {{"path", TextOrNull(function.path)},
            {"id", function.id},
            {"bus", function.bus},
            {"device", function.device},
            {"function", function.function},
            {"vendorId", function.vendorId},
            {"deviceId", function.deviceId},
            {"classCode", function.classCode},
            {"description", TextOrNull(function.description)},
            {"isBridge", function.isBridge},
            {"bridgeType", MappedToJson(function.bridgeType)}};
}

Json CardToJson(const Inventory& inventory, const Card& card) {
    Json functions = Json::array();
    for (const std::size_t index : card.functions)
        functions.push_back(FunctionToJson(inventory.functions[index]));
    return {{"path", TextOrNull(card.path)},
            {"tag", card.tag},
            {"layout", MappedToJson(card.layout)},
            {"functions", std::move(functions)},
            {"missingFunctions", card.missingFunctions}};
}

Json LocationToJson(const Location& location) {
    return {{"path", TextOrNull(location.path)}, {"name", location.name}, {"position", location.position}};
}

Json SlotToJson(const Inventory& inventory, const Slot& slot) {
    Json cards = Json::array();
    for (const std::size_t index : slot.cards) cards.push_back(CardToJson(inventory, inventory.cards[index]));
    return {{"path", TextOrNull(slot.path)},
            {"tag", slot.tag},
            {"number", slot.number ? Json(*slot.number) : Json()},
            {"layout", MappedToJson(slot.layout)},
            {"kind", TextOrNull(slot.kind)},
            {"hotPlug", slot.hotPlug},
            {"powered", slot.powered},
            {"location", slot.location ? LocationToJson(inventory.locations[*slot.location]) : Json()},
            {"cards", std::move(cards)},
            {"missingCards", slot.missingCards}};
}

Json ChassisToJson(const Inventory& inventory, const Chassis& chassis) {
    Json slots = Json::array();
    for (const std::size_t index : chassis.slots)
        slots.push_back(SlotToJson(inventory, inventory.slots[index]));
    return {{"path", TextOrNull(chassis.path)},
            {"name", chassis.name},
            {"slots", std::move(slots)},
            {"missingSlots", chassis.missingSlots}};
}

/// [{"bus", "functions"}] of what no card carries.
Json BusesToJson(const Inventory& inventory) {
    Json buses = Json::array();
    for (const Function& function : inventory.functions) {
        if (function.card) continue;
        if (buses.empty() || buses.back()["bus"] != function.bus)
            buses.push_back({{"bus", function.bus}, {"functions", Json::array()}});
        buses.back()["functions"].push_back(FunctionToJson(function));
    }
    return buses;
}

Json ClassesToJson(const Inventory& inventory) {
    Json classes = Json::object();
    for (const ClassData& data : inventory.classes) {
        classes[velkhost::Utf8FromWide(data.name)] = {{"status", StatusToJson(data.status)},
                                                      {"count", data.instances.size()}};
    }
    return classes;
}

}  // namespace

std::string FormatTreeAsJson(const Inventory& inventory, const std::vector<Failure>& failures) {
    Json chassis = Json::array();
    Json slots = Json::array();
    Json cards = Json::array();
    for (const Chassis& each : inventory.chassis) chassis.push_back(ChassisToJson(inventory, each));
    for (const Slot& slot : inventory.slots) {
        if (!slot.inChassis) slots.push_back(SlotToJson(inventory, slot));
    }
    for (const Card& card : inventory.cards) {
        if (card.slots.empty()) cards.push_back(CardToJson(inventory, card));
    }
    Json document = BeginDocument("tree", inventory.source);
    document["computer"] = {{"path", TextOrNull(inventory.computer.path)},
                            {"name", TextOrNull(inventory.computer.name)}};
    document["chassis"] = std::move(chassis);
    document["slotsOutsideChassis"] = std::move(slots);
    document["cardsOutsideSlots"] = std::move(cards);
    document["buses"] = BusesToJson(inventory);
    document["classes"] = ClassesToJson(inventory);
    document["failures"] = FailuresToJson(failures);
    return PrintJson(document);
}

}  // namespace velkpci
