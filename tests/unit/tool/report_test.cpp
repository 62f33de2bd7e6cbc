#include "tool/view/report/report.h"

#include "common/wbem_status.h"
#include "tool/view/json_view.h"
#include "tool/view/report/assets.h"
#include "tool/view/report/chassis_plan.h"
#include "tool/view/report/fit_text.h"
#include "tool/view/report/markup.h"
#include "tool/view/report/page_data.h"
#include "tool_fixture.h"

namespace {

using namespace velkpci;
using namespace velktest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ReportTest : public ToolTest {
  protected:
    std::vector<ClassData> ReadClasses() {
        std::vector<ClassData> classes;
        for (const wchar_t* name : InventoryClasses()) classes.push_back(reader_->Enumerate(name));
        return classes;
    }
    /// The machine as it looks when that class cannot be read.
    Inventory WithFailed(std::wstring_view name) {
        std::vector<ClassData> classes = ReadClasses();
        for (ClassData& data : classes) {
            if (data.name != name) continue;
            data.status = velk::kWbemFailed;
            data.instances.clear();
        }
        return BuildInventory(source_->Info(), std::move(classes));
    }
    /// A copy of an instance with one text changed.
    static InstancePtr Changed(const Instance& instance, std::wstring_view property, const wchar_t* text) {
        auto changed = std::make_shared<Instance>(instance);
        changed->values[instance.definition->IndexOf(property)] = Value::Text(text);
        return changed;
    }
    Inventory WithDescription(const wchar_t* text) {
        std::vector<ClassData> classes = ReadClasses();
        for (ClassData& data : classes) {
            if (data.name == L"Velk_PCIDevice")
                data.instances[0] = Changed(*data.instances[0], L"Description", text);
        }
        return BuildInventory(source_->Info(), std::move(classes));
    }
};

TEST_F(ReportTest, TheSameMachineGivesTheSameBytes) {
    EXPECT_EQ(FormatReportAsHtml(ReadInventory(*reader_), {}),
              FormatReportAsHtml(ReadInventory(*reader_), {}));
    EXPECT_EQ(FormatReportAsSvg(ReadInventory(*reader_), {}), FormatReportAsSvg(ReadInventory(*reader_), {}));
}

TEST_F(ReportTest, ThePageNamesItsStyleAndScriptByTheirHashes) {
    const std::string page = FormatReportAsHtml(ReadInventory(*reader_), {});
    EXPECT_THAT(page, HasSubstr("style-src &#39;" + PageCss().hash + "&#39;"));
    EXPECT_THAT(page, HasSubstr("<style>" + PageCss().text + "</style>"));
    EXPECT_THAT(page, HasSubstr("script-src &#39;" + PageJs().hash + "&#39;"));
    EXPECT_THAT(page, HasSubstr("<script>" + PageJs().text + "</script>"));
    EXPECT_THAT(page, Not(HasSubstr("unsafe")));
}

TEST_F(ReportTest, NamesOfTheMachineCannotBecomeMarkup) {
    const Inventory inventory = WithDescription(L"</script><b title=\"'&\x2028\x0007\xFFFF");
    for (const std::string& text : {FormatReportAsHtml(inventory, {}), FormatReportAsSvg(inventory, {})}) {
        EXPECT_THAT(text, Not(HasSubstr("<b ")));
        EXPECT_THAT(text, HasSubstr("&lt;/script&gt;&lt;b title=&quot;&#39;&amp;"));
        EXPECT_THAT(text, Not(HasSubstr("\x07")));
    }
    EXPECT_THAT(FormatReportAsSvg(inventory, {}), Not(HasSubstr("\xEF\xBF\xBF")))
        << "XML has no place for it";
    const std::string data = PageData(inventory).AsJson();
    EXPECT_EQ(data.find_first_of("<>&"), std::string::npos);
    EXPECT_THAT(data, Not(HasSubstr("\xE2\x80\xA8")));
    EXPECT_THAT(JsonText(ParseJson(data)), HasSubstr("</script><b title=")) << "and yet it is the same text";
}

TEST_F(ReportTest, ASlotIsEmptyOnlyWhereTheClassesThatWouldTellACardAnswered) {
    const Inventory whole = ReadInventory(*reader_);
    EXPECT_EQ(OccupancyOf(whole, whole.slots[0]), Occupancy::kOccupied);
    EXPECT_EQ(OccupancyOf(whole, whole.slots[1]), Occupancy::kEmpty);
    for (const wchar_t* name : {L"Velk_PCICardInSlot", L"Velk_PCICard"}) {
        const Inventory part = WithFailed(name);
        EXPECT_EQ(OccupancyOf(part, part.slots[1]), Occupancy::kUnknown);
        EXPECT_THAT(FormatReportAsHtml(part, {}), HasSubstr("not known whether a card is in it"));
        EXPECT_THAT(FormatReportAsHtml(part, {}), Not(HasSubstr(">empty<")));
        EXPECT_THAT(FormatReportAsSvg(part, {}), Not(HasSubstr(">empty<")));
        EXPECT_EQ(SlotCounts(part), "2 slots");
    }
}

TEST_F(ReportTest, AFailedClassIsToldWithItsStatusAndIsNotCounted) {
    const std::vector<Failure> failures = {{"Velk_PCISlot", velk::kWbemFailed, ""}};
    const Inventory inventory = WithFailed(L"Velk_PCISlot");
    for (const std::string& text :
         {FormatReportAsHtml(inventory, failures), FormatReportAsSvg(inventory, failures)}) {
        EXPECT_THAT(text, HasSubstr("Velk_PCISlot: WBEM_E_FAILED (0x80041001)"));
        EXPECT_THAT(text, HasSubstr("slots not known"));
        EXPECT_THAT(text, Not(HasSubstr("0 slots")));
    }
    EXPECT_EQ(FunctionCounts(WithFailed(L"Velk_PCIDevice")), "functions not known");
    EXPECT_EQ(FunctionCounts(WithFailed(L"Velk_PCIBridge")), "2 functions, bridges not known");
}

TEST_F(ReportTest, SlotsStandInTheOrderOfTheirNumbersAndThoseWithoutOneLast) {
    Inventory inventory = ReadInventory(*reader_);
    inventory.slots.push_back(inventory.slots[0]);
    inventory.slots[0].number = 7;
    inventory.slots[2].number = 3;
    inventory.chassis[0].slots = {1, 0, 2};
    const std::vector<SlotGroup> groups = GroupSlots(inventory);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_THAT(groups[0].slots, ElementsAre(2, 0, 1));
}

TEST_F(ReportTest, LanesAreThoseOfTheLayout) {
    const Inventory inventory = ReadInventory(*reader_);
    EXPECT_EQ(inventory.slots[0].lanes, 16u);
    EXPECT_EQ(inventory.slots[1].lanes, std::nullopt) << "PCI has none";
    Slot slot = inventory.slots[0];
    EXPECT_EQ(KindOf(slot), "PCI-E x16") << "the layout's name where the slot says nothing";
    slot.kind = "PCI Express";
    EXPECT_EQ(KindOf(slot), "PCI Express x16");
    EXPECT_EQ(KindOf(Slot{}), "unknown kind");
}

TEST_F(ReportTest, AMachineOfNothingGivesAPageAndADrawing) {
    Inventory inventory;
    for (const wchar_t* name : InventoryClasses()) inventory.classes.push_back({name, nullptr, S_OK, {}});
    EXPECT_THAT(FormatReportAsHtml(inventory, {}), HasSubstr("The machine publishes no slots."));
    EXPECT_THAT(FormatReportAsHtml(inventory, {}), HasSubstr("The machine publishes no functions."));
    EXPECT_THAT(FormatReportAsSvg(inventory, {}), HasSubstr("No slots."));
}

TEST_F(ReportTest, ThousandsOfFunctionsMakeAPageInLittleTime) {
    std::vector<ClassData> classes = ReadClasses();
    for (ClassData& data : classes) {
        if (data.name != L"Velk_PCIDevice") continue;
        const InstancePtr pattern = data.instances[0];
        for (int i = 0; i < 4096; ++i) {
            const std::wstring id = L"D" + std::to_wstring(i);
            data.instances.push_back(Changed(*pattern, L"DeviceID", id.c_str()));
        }
    }
    const Inventory inventory = BuildInventory(source_->Info(), std::move(classes));
    const ULONGLONG start = ::GetTickCount64();
    const std::string page = FormatReportAsHtml(inventory, {});
    EXPECT_LT(::GetTickCount64() - start, 10'000u)
        << "milliseconds; a build of what ships takes a fraction of it";
    EXPECT_NE(page.find("\"D4095\""), std::string::npos);
    EXPECT_LT(page.size(), 8'000'000u);
}

TEST(Markup, AnElementIsClosedWhereItsScopeEnds) {
    Markup out;
    {
        const auto list = out.Open("ul", {{"class", "a\"b"}});
        out.Put("li", {}, "x < y");
    }
    EXPECT_EQ(out.Written(), "<ul class=\"a&quot;b\"><li>x &lt; y</li></ul>");
}

TEST(FitText, ATextThatIsTooWideEndsInAnEllipsisAndNeverWithinALetter) {
    EXPECT_EQ(FitText("short", 200, 13), "short");
    const std::string fitted = FitText("ääääääääääääääääääääääääääääääääääääääää", 100, 13);
    EXPECT_THAT(fitted, testing::EndsWith("ä…"));
    EXPECT_LT(fitted.size(), 40u);
}

}  // namespace
