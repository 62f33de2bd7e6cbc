#include <algorithm>

#include "host/utf8.h"
#include "tool/view/object_view.h"
#include "tool/view/report/assets.h"
#include "tool/view/report/chassis_plan.h"
#include "tool/view/report/connector.h"
#include "tool/view/report/fit_text.h"
#include "tool/view/report/markup.h"
#include "tool/view/report/report.h"
#include "tool/view/thing_text.h"

namespace velkpci {
namespace {

// Pixels. A slot is a row: number, connector, the bay with the card, and at the right what state it is in.
constexpr int kWidth = 920;
constexpr int kMargin = 20;
constexpr int kFrameTop = 40;  ///< from the top of a frame to its first row: the chassis's name stands there
constexpr int kNumberX = 40;
constexpr int kNumberSize = 44;
constexpr int kConnectorX = 100;
constexpr int kBayX = 300;
constexpr int kBayWidth = 470;
constexpr int kStateX = 790;
constexpr int kRowGap = 10;
constexpr int kGroupGap = 16;
constexpr int kCardHead = 28;
constexpr int kLine = 19;
constexpr int kEmptyBay = 44;
constexpr std::size_t kDrawnFunctions = 4;

std::string Px(int value) { return std::to_string(value); }

/// What a bay shows: a card with lines, or a line alone.
struct Bay {
    bool isCard = false;
    std::string title;
    std::vector<const Function*> functions;
    std::string more;  ///< a last line for what the functions above do not show

    int Height() const {
        const int lines = static_cast<int>(functions.size()) + (more.empty() ? 0 : 1);
        return lines == 0 ? kEmptyBay : kCardHead + lines * kLine + 8;
    }
};

class Picture {
  public:
    Picture(const Inventory& inventory, const std::vector<Failure>& failures)
        : inventory_(inventory), failures_(failures) {}

    std::string Draw() {
        DrawHead();
        for (const SlotGroup& group : GroupSlots(inventory_)) DrawGroup(group);
        DrawCardsOutside();
        if (inventory_.chassis.empty() && inventory_.slots.empty()) {
            Text("note", kMargin, y_ + 16,
                 WasRead(inventory_, L"Velk_PCISlot") ? "No slots." : "The slots could not be read.");
            y_ += kGroupGap + kLine;
        }
        return Whole();
    }

  private:
    std::string Title() const {
        const std::string name = NameOf(inventory_.computer);
        return name.empty() ? "This computer" : name;
    }

    std::string Whole() const {
        Markup whole;
        {
            const std::string height = Px(y_ - kGroupGap + kMargin);
            const auto svg = whole.Open("svg", {{"xmlns", "http://www.w3.org/2000/svg"},
                                                {"width", Px(kWidth)},
                                                {"height", height},
                                                {"viewBox", "0 0 " + Px(kWidth) + " " + height},
                                                {"role", "img"},
                                                {"aria-labelledby", "title description"}});
            whole.Raw("\n");
            whole.Put("title", {{"id", "title"}}, "PCI slots of " + Title());
            whole.Put("desc", {{"id", "description"}}, SlotCounts(inventory_));
            whole.Raw("\n<style>\n" + PictureCss().text + "</style>\n");
            whole.Put("rect", {{"class", "paper"}, {"width", Px(kWidth)}, {"height", height}, {"rx", "12"}},
                      {});
            whole.Raw("\n" + out_.Written());
        }
        whole.Raw("\n");
        return whole.Written();
    }

    void Text(const char* kind, int x, int y, const std::string& text) {
        out_.Put("text", {{"class", kind}, {"x", Px(x)}, {"y", Px(y)}}, text);
        out_.Raw("\n");
    }

    void DrawHead() {
        Text("title", kMargin, 40, FitText(Title(), kWidth - 2 * kMargin, 22));
        Text("counts", kMargin, 62, SlotCounts(inventory_) + " \xC2\xB7 " + FunctionCounts(inventory_));
        y_ = 80;
        for (const Failure& failure : failures_) {
            Text("failure", kMargin, y_ + 10, FitText(FormatFailure(failure), kWidth - 2 * kMargin, 13));
            y_ += kLine;
        }
        if (!failures_.empty()) y_ += 8;
    }

    void DrawGroup(const SlotGroup& group) {
        int height = kFrameTop;
        for (const std::size_t slot : group.slots) height += BayOf(inventory_.slots[slot]).Height() + kRowGap;
        const int notes = static_cast<int>(group.missingSlots.size()) + (group.slots.empty() ? 1 : 0);
        height += notes * kLine + 8;
        Frame(group.title, height);
        for (const std::size_t slot : group.slots) DrawSlot(inventory_.slots[slot]);
        if (group.slots.empty())
            Note(WasRead(inventory_, L"Velk_PCISlot") && WasRead(inventory_, L"Velk_SystemPCISlot")
                     ? "No slots."
                     : "Its slots could not be read.");
        for (const std::string& path : group.missingSlots)
            Note(ShortNameOfPath(velkhost::WideFromUtf8(path)) + " (published by no class)");
        y_ += kGroupGap;
    }

    void Frame(const std::string& title, int height) {
        out_.Put("rect",
                 {{"class", "chassis"},
                  {"x", Px(kMargin)},
                  {"y", Px(y_)},
                  {"width", Px(kWidth - 2 * kMargin)},
                  {"height", Px(height)},
                  {"rx", "8"}},
                 {});
        out_.Raw("\n");
        Text("name", kNumberX, y_ + 25, FitText(title, kWidth - 2 * kNumberX, 13));
        y_ += kFrameTop;
    }

    void Note(const std::string& text) {
        Text("note", kNumberX, y_ + 10, FitText(text, kWidth - 2 * kNumberX, 13));
        y_ += kLine;
    }

    Bay BayOf(const Slot& slot) const {
        if (slot.cards.empty()) {
            const bool isEmpty = OccupancyOf(inventory_, slot) == Occupancy::kEmpty;
            const bool leadsNowhere = !slot.missingCards.empty();
            return {false,
                    isEmpty        ? "empty"
                    : leadsNowhere ? "a card that no class publishes"
                                   : "not known",
                    {},
                    {}};
        }
        Bay bay = BayOf(inventory_.cards[slot.cards.front()]);
        for (std::size_t i = 1; i < slot.cards.size(); ++i)
            bay.title += ", " + inventory_.cards[slot.cards[i]].tag;
        return bay;
    }

    Bay BayOf(const Card& card) const {
        Bay bay{true, card.tag, {}, {}};
        const std::size_t shown = std::min(card.functions.size(), kDrawnFunctions);
        for (std::size_t i = 0; i < shown; ++i)
            bay.functions.push_back(&inventory_.functions[card.functions[i]]);
        if (shown < card.functions.size())
            bay.more = "and " + Counted(card.functions.size() - shown, "more function");
        if (card.functions.empty() && !WasRead(inventory_, L"Velk_RealizesPCIDevice"))
            bay.more = "functions not known";
        return bay;
    }

    void DrawSlot(const Slot& slot) {
        const Bay bay = BayOf(slot);
        const int height = bay.Height();
        const auto group = out_.Open("g", {{"class", "slot"}});
        out_.Put("title", {}, slot.tag + ": " + KindOf(slot) + ", " + PowerOf(slot) + ", " + bay.title);
        out_.Raw("\n");
        DrawNumber(slot);
        {
            const auto place =
                out_.Open("g", {{"transform", "translate(" + Px(kConnectorX) + " " + Px(y_ + 5) + ")"}});
            DrawConnector(slot, out_);
        }
        out_.Raw("\n");
        Text("kind", kConnectorX, y_ + 38, FitText(KindOf(slot), kBayX - kConnectorX - 12, 13));
        DrawBay(bay, height);
        DrawState(slot);
        y_ += height + kRowGap;
    }

    void DrawNumber(const Slot& slot) {
        out_.Put("rect",
                 {{"class", "number-tile"},
                  {"x", Px(kNumberX)},
                  {"y", Px(y_)},
                  {"width", Px(kNumberSize)},
                  {"height", Px(kNumberSize)},
                  {"rx", "6"}},
                 {});
        Text("number", kNumberX + kNumberSize / 2, y_ + 29, slot.number ? std::to_string(*slot.number) : "?");
    }

    void DrawBay(const Bay& bay, int height) {
        out_.Put("rect",
                 {{"class", bay.isCard ? "card" : "bay"},
                  {"x", Px(kBayX)},
                  {"y", Px(y_)},
                  {"width", Px(kBayWidth)},
                  {"height", Px(height)},
                  {"rx", "4"}},
                 {});
        if (bay.isCard) {
            out_.Put("rect",
                     {{"class", "bracket"},
                      {"x", Px(kBayX)},
                      {"y", Px(y_)},
                      {"width", "5"},
                      {"height", Px(height)},
                      {"rx", "2"}},
                     {});
        }
        out_.Raw("\n");
        const int x = kBayX + 18;
        const int width = kBayWidth - 30;
        const int first = bay.isCard && height > kEmptyBay ? y_ + 21 : y_ + 27;
        Text(bay.isCard ? "card-name" : "note", x, first, FitText(bay.title, width, 13));
        int at = y_ + kCardHead + 13;
        for (const Function* function : bay.functions) {
            Text("ids", x, at, IdsOf(*function));
            Text("text", x + 86, at, FitText(function->description, width - 86, 13));
            at += kLine;
        }
        if (!bay.more.empty()) Text("note", x, at, bay.more);
    }

    void DrawState(const Slot& slot) {
        out_.Put("circle",
                 {{"class", slot.powered ? "lamp on" : "lamp"},
                  {"cx", Px(kStateX + 4)},
                  {"cy", Px(y_ + 13)},
                  {"r", "4"}},
                 {});
        Text("state", kStateX + 16, y_ + 17, PowerOf(slot));
        if (slot.hotPlug) Text("state", kStateX + 16, y_ + 36, "hot-plug");
    }

    void DrawCardsOutside() {
        const std::vector<std::size_t> cards = CardsOutsideSlots(inventory_);
        if (cards.empty()) return;
        int height = kFrameTop + 8;
        for (const std::size_t card : cards) height += BayOf(inventory_.cards[card]).Height() + kRowGap;
        Frame(WasRead(inventory_, L"Velk_PCICardInSlot") ? "In slots that the firmware does not describe"
                                                         : "Cards whose slots are not known",
              height);
        for (const std::size_t card : cards) {
            const Bay bay = BayOf(inventory_.cards[card]);
            DrawBay(bay, bay.Height());
            y_ += bay.Height() + kRowGap;
        }
        y_ += kGroupGap;
    }

    const Inventory& inventory_;
    const std::vector<Failure>& failures_;
    Markup out_;
    int y_ = 0;  ///< where the next thing begins
};

}  // namespace

std::string FormatReportAsSvg(const Inventory& inventory, const std::vector<Failure>& failures) {
    return Picture(inventory, failures).Draw();
}

}  // namespace velkpci
