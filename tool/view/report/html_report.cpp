#include "tool/view/report/assets.h"
#include "tool/view/report/chassis_plan.h"
#include "tool/view/report/markup.h"
#include "tool/view/report/page_data.h"
#include "tool/view/report/page_sections.h"
#include "tool/view/report/report.h"
#include "tool/view/thing_text.h"

namespace velkpci {
namespace {

/// Where the instances were read, for people.
std::string SourceText(const SourceInfo& source) {
    switch (source.kind) {
        case SourceInfo::Kind::kWmi:
            return "WMI of this computer";
        case SourceInfo::Kind::kComputer:
            return "WMI of " + source.name;
        case SourceInfo::Kind::kMachine:
            return "machine file " + source.name;
        case SourceInfo::Kind::kProvider:
            return "the provider in this computer, without WMI";
    }
    return {};
}

std::string Policy() {
    return "default-src 'none'; style-src '" + PageCss().hash + "'; script-src '" + PageJs().hash +
           "'; base-uri 'none'; form-action 'none'";
}

class Page {
  public:
    Page(const Inventory& inventory, const std::vector<Failure>& failures)
        : inventory_(inventory), failures_(failures), data_(inventory) {}

    std::string Write() {
        out_.Raw("<!DOCTYPE html>\n");
        {
            const auto html = out_.Open("html", {{"lang", "en"}});
            WriteHead();
            const auto body = out_.Open("body");
            out_.Put("a", {{"class", "skip"}, {"href", "#slots"}}, "Skip to the slots");
            WriteBanner();
            {
                const auto layout = out_.Open("div", {{"class", "layout"}});
                WriteMain();
                WriteDetail();
            }
            WriteScripts();
        }
        out_.Raw("\n");
        return out_.Written();
    }

  private:
    std::string Title() const {
        const std::string name = NameOf(inventory_.computer);
        return name.empty() ? "This computer" : name;
    }

    void WriteHead() {
        const auto head = out_.Open("head");
        out_.Void("meta", {{"charset", "utf-8"}});
        out_.Void("meta", {{"http-equiv", "Content-Security-Policy"}, {"content", Policy()}});
        out_.Void("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
        out_.Put("title", {}, Title() + " - PCI inventory");
        out_.Raw("\n");
        const auto style = out_.Open("style");
        out_.Raw(PageCss().text);
    }

    void WriteBanner() {
        const auto banner = out_.Open("header", {{"class", "banner"}});
        {
            const auto names = out_.Open("div", {{"class", "names"}});
            WriteName();
            out_.Put("p", {{"class", "counts"}},
                     SlotCounts(inventory_) + " \xC2\xB7 " + FunctionCounts(inventory_));
            out_.Put("p", {{"class", "source"}},
                     "From " + SourceText(inventory_.source) + ", namespace " + inventory_.source.nameSpace);
        }
        const auto tools = out_.Open("div", {{"class", "tools"}, {"role", "search"}});
        out_.Put("label", {{"class", "hidden-text"}, {"for", "search"}}, "Search slots, cards and functions");
        out_.Void("input", {{"id", "search"},
                            {"type", "search"},
                            {"placeholder", "Search: name, 8086:1572, slot 3 ..."},
                            {"autocomplete", "off"},
                            {"spellcheck", "false"},
                            {"aria-keyshortcuts", "/"}});
        out_.Put("button", {{"id", "theme"}, {"type", "button"}}, "Dark");
        out_.Put("output", {{"id", "hits"}, {"for", "search"}, {"aria-live", "polite"}}, {});
    }

    /// The computer's name, which opens its instance where the suite's class gives one.
    void WriteName() {
        const auto heading = out_.Open("h1");
        const ClassData* computers = inventory_.Class(L"Velk_WinComputerSystem");
        if (computers == nullptr || computers->instances.empty()) {
            out_.Text(Title());
        } else {
            out_.Put("button", Opens(data_, *computers->instances.front(), "plain"), Title());
        }
    }

    void WriteMain() {
        const auto main = out_.Open("main", {{"id", "main"}});
        WriteFailures();
        WriteSlots(inventory_, data_, out_);
        WriteFunctions(inventory_, data_, out_);
        out_.Put("p", {{"id", "nothing"}, {"class", "note"}, {"hidden", ""}}, "Nothing is like that.");
        out_.Put("p", {{"class", "keys"}},
                 "Keys: / search, arrows move, Enter opens, Esc closes. Every element opens its instance.");
    }

    void WriteFailures() {
        if (failures_.empty()) return;
        const auto section =
            out_.Open("section", {{"class", "failures"}, {"aria-labelledby", "failures-head"}});
        out_.Put(
            "h2", {{"id", "failures-head"}},
            failures_.size() == 1 ? "1 class failed" : std::to_string(failures_.size()) + " classes failed");
        out_.Put("p", {},
                 failures_.size() == 1 ? "What it would tell is missing below."
                                       : "What they would tell is missing below.");
        const auto list = out_.Open("ul");
        for (const Failure& failure : failures_) out_.Put("li", {}, FormatFailure(failure));
    }

    /// The panel that shows an instance; the script fills it.
    void WriteDetail() {
        const auto panel =
            out_.Open("aside", {{"id", "detail"}, {"aria-labelledby", "detail-name"}, {"hidden", ""}});
        {
            const auto head = out_.Open("div", {{"class", "detail-head"}});
            out_.Put("p", {{"id", "detail-class"}}, {});
            out_.Put("h2", {{"id", "detail-name"}, {"tabindex", "-1"}}, {});
            out_.Put("button", {{"id", "close"}, {"type", "button"}, {"aria-label", "Close"}}, "\xC3\x97");
        }
        out_.Put("h3", {}, "Object path");
        out_.Put("code", {{"id", "detail-path"}}, {});
        out_.Put("button", {{"id", "copy"}, {"type", "button"}}, "Copy");
        out_.Put("div", {{"id", "detail-links"}}, {});
        out_.Put("div", {{"id", "detail-properties"}}, {});
    }

    void WriteScripts() {
        {
            // No script: a block of data, which the policy has nothing to say about.
            const auto data = out_.Open("script", {{"id", "data"}, {"type", "application/json"}});
            out_.Raw(data_.AsJson());
        }
        out_.Raw("\n");
        out_.Put("noscript", {}, "Instances open and the search works where scripts may run.");
        const auto script = out_.Open("script");
        out_.Raw(PageJs().text);
    }

    const Inventory& inventory_;
    const std::vector<Failure>& failures_;
    const PageData data_;
    Markup out_;
};

}  // namespace

std::string FormatReportAsHtml(const Inventory& inventory, const std::vector<Failure>& failures) {
    return Page(inventory, failures).Write();
}

}  // namespace velkpci
