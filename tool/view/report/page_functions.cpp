#include "tool/view/report/chassis_plan.h"
#include "tool/view/report/page_sections.h"
#include "tool/view/thing_text.h"

namespace velkpci {
namespace {

/// What sets a function apart from its neighbours: its kind of bridge, the card or the slot that it sits in.
std::string TagOf(const Inventory& inventory, const Function& function) {
    std::string tag;
    if (function.isBridge)
        tag = function.bridgeType.name.empty() ? "bridge" : function.bridgeType.name + " bridge";
    std::string place;
    if (function.card) {
        place = inventory.cards[*function.card].tag;
    } else if (function.slotNumber) {
        place = "slot " + std::to_string(*function.slotNumber);
    }
    return tag.empty() || place.empty() ? tag + place : tag + ", " + place;
}

void WriteFunction(const Inventory& inventory, const PageData& data, const Function& function, bool isFirst,
                   Markup& out) {
    const std::string kind =
        std::string("function") + (function.isBridge ? " bridge" : "") + (isFirst ? "" : " further");
    const auto item = out.Open("li", {{"class", kind}, {"data-find", ""}});
    const auto button = out.Open("button", Opens(data, *function.instance, "row"));
    out.Put("span", {{"class", "at"}},
            std::to_string(function.device) + "." + std::to_string(function.function));
    out.Put("span", {{"class", "ids"}}, IdsOf(function));
    out.Put("span", {{"class", "what"}}, function.description);
    const std::string tag = TagOf(inventory, function);
    if (!tag.empty()) out.Put("span", {{"class", "tag"}}, tag);
}

void WriteNotes(const Inventory& inventory, Markup& out) {
    for (const auto& [name, things] :
         {std::pair(L"Velk_PCIDevice", "functions"), std::pair(L"Velk_PCIBridge", "bridges")}) {
        if (!WasRead(inventory, name))
            out.Put("p", {{"class", "note unknown"}},
                    std::string("The ") + things + " could not be read to their end.");
    }
    const bool isTold = WasRead(inventory, L"Velk_PCIDevice") && WasRead(inventory, L"Velk_PCIBridge");
    if (inventory.functions.empty() && isTold)
        out.Put("p", {{"class", "note"}}, "The machine publishes no functions.");
}

}  // namespace

void WriteFunctions(const Inventory& inventory, const PageData& data, Markup& out) {
    const auto section = out.Open("section", {{"id", "functions"}, {"aria-labelledby", "functions-head"}});
    out.Put("h2", {{"id", "functions-head"}}, "Functions by bus");
    WriteNotes(inventory, out);
    const auto buses = out.Open("div", {{"class", "buses"}});
    const std::vector<Function>& functions = inventory.functions;
    for (std::size_t i = 0; i < functions.size();) {
        const std::uint32_t bus = functions[i].bus;
        const std::string title = "Bus " + std::to_string(bus);
        const auto box = out.Open("section", {{"class", "bus"}, {"aria-label", title}});
        out.Put("h3", {}, title);
        const auto list = out.Open("ul", {{"class", "rows"}});
        for (std::size_t first = i; i < functions.size() && functions[i].bus == bus; ++i) {
            if (functions[i].device != functions[first].device) first = i;
            WriteFunction(inventory, data, functions[i], i == first, out);
        }
    }
}

}  // namespace velkpci
