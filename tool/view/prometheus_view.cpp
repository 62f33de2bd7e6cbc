#include "tool/view/prometheus_view.h"

#include <map>
#include <utility>

#include "host/utf8.h"
#include "tool/inventory/pci_classes.h"

namespace velkpci {
namespace {

using Labels = std::vector<std::pair<const char*, std::string>>;

std::string Escaped(const std::string& value) {
    std::string escaped;
    for (const char each : value) {
        if (each == '\n') {
            escaped += "\\n";
            continue;
        }
        if (each == '\\' || each == '"') escaped += '\\';
        escaped += each;
    }
    return escaped;
}

std::string FormatLabels(const Labels& labels) {
    std::string text;
    for (const auto& [name, value] : labels)
        text += (text.empty() ? "" : ",") + std::string(name) + "=\"" + Escaped(value) + "\"";
    return text.empty() ? text : "{" + text + "}";
}

/// One metric: its head, then a sample for each set of labels. Without samples nothing is written.
class Gauge {
  public:
    Gauge(const char* name, const char* help) : name_(name), help_(help) {}

    void Set(const Labels& labels, std::size_t value) { samples_[FormatLabels(labels)] = value; }
    void Add(const Labels& labels) { ++samples_[FormatLabels(labels)]; }

    std::string Format() const {
        if (samples_.empty()) return {};
        std::string text = "# HELP " + name_ + " " + help_ + "\n# TYPE " + name_ + " gauge\n";
        for (const auto& [labels, value] : samples_)
            text += name_ + labels + " " + std::to_string(value) + "\n";
        return text;
    }

  private:
    const std::string name_;
    const std::string help_;
    std::map<std::string, std::size_t> samples_;
};

std::string FormatClasses(const Inventory& inventory) {
    Gauge up("velk_pci_class_up", "Whether the class was read (1) or failed (0).");
    for (const ClassData& data : inventory.classes) {
        if (FAILED(data.status) && !IsFailure(data)) continue;  // a class of a suite that is not there
        up.Set({{"class", velkhost::Utf8FromWide(data.name)}}, SUCCEEDED(data.status) ? 1 : 0);
    }
    return up.Format();
}

std::string FormatSlots(const Inventory& inventory) {
    if (!WasRead(inventory, L"Velk_PCISlot")) return {};
    const bool knowsCards = WasRead(inventory, L"Velk_PCICardInSlot") && WasRead(inventory, L"Velk_PCICard");
    Gauge slots("velk_pci_slots", "PCI slots that the firmware describes.");
    Gauge occupied("velk_pci_slot_occupied", "Whether the slot holds a card (1) or is empty (0).");
    Gauge powered("velk_pci_slot_powered", "Whether the slot has power (1) or not (0).");
    slots.Set({}, inventory.slots.size());
    for (const Slot& slot : inventory.slots) {
        const Labels labels = {{"slot", slot.tag},
                               {"number", slot.number ? std::to_string(*slot.number) : std::string()},
                               {"layout", slot.layout.name},
                               {"hotplug", slot.hotPlug ? "true" : "false"}};
        if (knowsCards) occupied.Set(labels, slot.cards.empty() ? 0 : 1);
        powered.Set(labels, slot.powered ? 1 : 0);
    }
    return slots.Format() + occupied.Format() + powered.Format();
}

std::string FormatFunctions(const Inventory& inventory) {
    Gauge functions("velk_pci_functions", "PCI functions by base class.");
    for (const Function& function : inventory.functions) {
        const wchar_t* className = function.isBridge ? L"Velk_PCIBridge" : L"Velk_PCIDevice";
        if (!WasRead(inventory, className)) continue;
        functions.Add({{"kind", function.isBridge ? "bridge" : "device"},
                       {"class", std::to_string(function.classCode)},
                       {"name", PciClassName(function.classCode)}});
    }
    return functions.Format();
}

std::string FormatCards(const Inventory& inventory) {
    if (!WasRead(inventory, L"Velk_PCICard")) return {};
    Gauge cards("velk_pci_cards", "Adapter cards.");
    cards.Set({}, inventory.cards.size());
    return cards.Format();
}

}  // namespace

std::string FormatAsPrometheus(const Inventory& inventory) {
    return FormatClasses(inventory) + FormatSlots(inventory) + FormatCards(inventory) +
           FormatFunctions(inventory);
}

}  // namespace velkpci
