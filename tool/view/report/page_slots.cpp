#include <algorithm>

#include "host/utf8.h"
#include "tool/view/object_view.h"
#include "tool/view/report/chassis_plan.h"
#include "tool/view/report/connector.h"
#include "tool/view/report/page_sections.h"
#include "tool/view/thing_text.h"

namespace velkpci {
namespace {

/// A card shows these; all functions stand below, by bus.
constexpr std::size_t kShownFunctions = 8;

class Slots {
  public:
    Slots(const Inventory& inventory, const PageData& data, Markup& out)
        : inventory_(inventory), data_(data), out_(out) {}

    void Write() {
        const auto section = out_.Open("section", {{"id", "slots"}, {"aria-labelledby", "slots-head"}});
        out_.Put("h2", {{"id", "slots-head"}}, "Slots");
        const std::vector<SlotGroup> groups = GroupSlots(inventory_);
        for (const SlotGroup& group : groups) WriteGroup(group);
        if (groups.empty()) {
            Note(WasRead(inventory_, L"Velk_PCISlot") ? "The machine publishes no slots."
                                                      : "The slots could not be read.");
        }
        WriteCardsOutside();
    }

  private:
    void WriteGroup(const SlotGroup& group) {
        const auto box = out_.Open("section", {{"class", "chassis"}, {"aria-label", group.title}});
        {
            const auto heading = out_.Open("h3");
            if (group.chassis != nullptr) {
                out_.Put("button", Opens(data_, *group.chassis->instance, "plain"), group.title);
            } else {
                out_.Text(group.title);
            }
        }
        if (group.slots.empty()) {
            const bool isTold =
                WasRead(inventory_, L"Velk_PCISlot") && WasRead(inventory_, L"Velk_SystemPCISlot");
            Note(isTold ? "No slots." : "Its slots could not be read.");
        }
        const auto list = out_.Open("ol", {{"class", "slots"}});
        for (const std::size_t slot : group.slots) WriteSlot(inventory_.slots[slot]);
        for (const std::string& path : group.missingSlots) {
            const auto item = out_.Open("li", {{"data-find", ""}});
            Missing(path);
        }
    }

    void WriteSlot(const Slot& slot) {
        const auto item = out_.Open("li", {{"class", "slot"}, {"data-find", ""}});
        {
            const auto button = out_.Open("button", Opens(data_, *slot.instance, "socket"));
            WriteSocket(slot);
        }
        const auto bay = out_.Open("div", {{"class", "bay"}});
        for (const std::size_t card : slot.cards) WriteCard(inventory_.cards[card]);
        for (const std::string& path : slot.missingCards) Missing(path);
        if (!slot.cards.empty() || !slot.missingCards.empty()) return;
        const bool isEmpty = OccupancyOf(inventory_, slot) == Occupancy::kEmpty;
        out_.Put("p", {{"class", isEmpty ? "empty" : "empty unknown"}},
                 isEmpty ? "empty" : "not known whether a card is in it");
    }

    void WriteSocket(const Slot& slot) {
        out_.Put("span", {{"class", "number"}, {"aria-hidden", "true"}},
                 slot.number ? std::to_string(*slot.number) : "?");
        out_.Put("span", {{"class", "hidden-text"}}, slot.tag + ", ");
        {
            const std::string size =
                "0 0 " + std::to_string(kConnectorWidth) + " " + std::to_string(kConnectorHeight);
            const auto picture = out_.Open("svg", {{"class", "connector"},
                                                   {"viewBox", size},
                                                   {"width", std::to_string(kConnectorWidth)},
                                                   {"height", std::to_string(kConnectorHeight)},
                                                   {"aria-hidden", "true"}});
            DrawConnector(slot, out_);
        }
        out_.Put("span", {{"class", "kind"}}, KindOf(slot));
        const auto state = out_.Open("span", {{"class", "state"}});
        out_.Put("span", {{"class", slot.powered ? "lamp on" : "lamp"}, {"aria-hidden", "true"}}, {});
        std::string text = PowerOf(slot);
        if (slot.hotPlug) text += " \xC2\xB7 hot-plug";
        if (slot.location) text += " \xC2\xB7 position " + inventory_.locations[*slot.location].position;
        out_.Text(text);
    }

    void WriteCard(const Card& card) {
        const auto box = out_.Open("div", {{"class", "card"}});
        out_.Put("button", Opens(data_, *card.instance, "card-name"), card.tag);
        const auto list = out_.Open("ul", {{"class", "rows"}});
        const std::size_t shown = std::min(card.functions.size(), kShownFunctions);
        for (std::size_t i = 0; i < shown; ++i) WriteFunction(inventory_.functions[card.functions[i]]);
        for (const std::string& path : card.missingFunctions) {
            const auto item = out_.Open("li");
            Missing(path);
        }
        if (shown < card.functions.size()) {
            out_.Put("li", {{"class", "note"}},
                     "and " + Counted(card.functions.size() - shown, "more function") + ", below by bus");
        } else if (card.functions.empty() && !WasRead(inventory_, L"Velk_RealizesPCIDevice")) {
            out_.Put("li", {{"class", "note unknown"}}, "functions not known");
        }
    }

    void WriteFunction(const Function& function) {
        const auto item = out_.Open("li");
        const auto button = out_.Open("button", Opens(data_, *function.instance, "row"));
        out_.Put("span", {{"class", "ids"}}, IdsOf(function));
        out_.Put("span", {{"class", "what"}}, function.description);
        out_.Put("span", {{"class", "at"}}, function.id);
    }

    void WriteCardsOutside() {
        const std::vector<std::size_t> cards = CardsOutsideSlots(inventory_);
        if (cards.empty()) return;
        const char* title = WasRead(inventory_, L"Velk_PCICardInSlot")
                                ? "Cards in slots that the firmware does not describe"
                                : "Cards whose slots are not known";
        const auto box = out_.Open("section", {{"class", "chassis loose"}, {"aria-label", title}});
        out_.Put("h3", {}, title);
        for (const std::size_t card : cards) {
            const auto place = out_.Open("div", {{"class", "bay"}, {"data-find", ""}});
            WriteCard(inventory_.cards[card]);
        }
    }

    void Missing(const std::string& path) {
        Note(ShortNameOfPath(velkhost::WideFromUtf8(path)) + " (published by no class)");
    }
    void Note(const std::string& text) { out_.Put("p", {{"class", "note"}}, text); }

    const Inventory& inventory_;
    const PageData& data_;
    Markup& out_;
};

}  // namespace

Markup::Attributes Opens(const PageData& data, const Instance& instance, const char* styleClass) {
    return {
        {"type", "button"}, {"class", styleClass}, {"data-opens", std::to_string(data.NumberOf(instance))}};
}

void WriteSlots(const Inventory& inventory, const PageData& data, Markup& out) {
    Slots(inventory, data, out).Write();
}

}  // namespace velkpci
