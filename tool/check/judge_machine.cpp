#include <algorithm>
#include <cstdio>
#include <set>

#include "host/utf8.h"
#include "smbios/system_slot.h"
#include "tool/check/judge.h"
#include "tool/inventory/status_names.h"

namespace velkpci {
namespace {

std::string TypeCode(std::uint8_t type) {
    char text[8];
    std::snprintf(text, sizeof text, "%02Xh", type);
    return text;
}

Verdict JudgeSuite(const Inventory& inventory, const char* point, const wchar_t* className) {
    const ClassData* data = inventory.Class(className);
    const std::size_t count = data == nullptr ? 0 : data->instances.size();
    const std::string name = velkhost::Utf8FromWide(className);
    if (data == nullptr || data->definition == nullptr)
        return Failed(point, "there is no class " + name,
                      "install the suite, or run \"velkpci setup compile\" as administrator: until then "
                      "associations lead to no " +
                          std::string(point));
    if (FAILED(data->status))
        return Failed(point, name + ": " + DescribeStatus(data->status), "see its own provider's log");
    if (count == 1) return Passed(point, "one " + name);
    return Failed(point, Counted(count, "instance") + " of " + name,
                  count == 0 ? "its provider gives none: see its own log"
                             : "references need exactly one: where the suite is there, run \"velkpci setup "
                               "compile --standalone-classes off\"");
}

Verdict JudgeFirmware(const Firmware& firmware) {
    const std::string point = "firmware table";
    if (firmware.isReadable)
        return Passed(point, "read by way of " + firmware.way + ", " +
                                 Counted(firmware.slots.size(), "slot") + " described");
    return Failed(point, "no SMBIOS table by way of " + firmware.way,
                  "does Get-CimInstance -Namespace root/wmi MSSmBios_RawSMBiosTables give one instance?");
}

Verdict JudgeDescribed(const Firmware& firmware) {
    const std::string point = "slot types";
    if (firmware.slots.empty()) return NotApplicable(point, "the firmware describes no slot");
    const auto express =
        firmware.hasModernTypes ? velk::ExpressTypes::kModern : velk::ExpressTypes::kToGeneration2;
    std::size_t listed = 0;
    std::vector<std::string> modern, others;
    for (const DescribedSlot& slot : firmware.slots) {
        const bool isListed = velk::KindOfSlotType(slot.type, express) != velk::SlotKind::kOther;
        const bool canBe =
            velk::KindOfSlotType(slot.type, velk::ExpressTypes::kModern) != velk::SlotKind::kOther;
        listed += isListed ? 1 : 0;
        if (!isListed)
            (canBe ? modern : others).push_back("\"" + slot.designation + "\" (" + TypeCode(slot.type) + ")");
    }
    const std::string rest = others.empty() ? std::string() : "; no PCI slots: " + Joined(others);
    if (!modern.empty())
        return Failed(point, "left out, as of PCI Express 3 or later: " + Joined(modern) + rest,
                      "set ModernSlotTypes to 1 (see the page on installation)");
    return Passed(point, Counted(listed, "slot") + " of PCI types" + rest);
}

/// A table that an administrator can read and the host's account cannot gives no slots, and no failure.
Verdict JudgeListed(const Facts& facts) {
    const std::string point = "slots as described";
    const Answers* told = facts.Told();
    if (!facts.firmware->isReadable || told == nullptr)
        return NotApplicable(point, "the table or the slots are not known");
    const auto express =
        facts.firmware->hasModernTypes ? velk::ExpressTypes::kModern : velk::ExpressTypes::kToGeneration2;
    const auto described =
        static_cast<std::size_t>(std::ranges::count_if(facts.firmware->slots, [&](const DescribedSlot& slot) {
            return velk::KindOfSlotType(slot.type, express) != velk::SlotKind::kOther;
        }));
    const std::size_t listed = told->inventory.slots.size();
    if (listed == described) return Passed(point, Counted(listed, "slot"));
    return Failed(
        point,
        "the table describes " + Counted(described, "PCI slot") + ", Velk_PCISlot lists " +
            std::to_string(listed),
        "the host's account may be refused the table, or the host holds an older one: end the host, and "
        "check again");
}

/// Windows gives the slot number of a hot-plug slot to the port above it, or to the card's own functions:
/// with these alone the slot reads as without power for ever.
Verdict JudgePower(const Inventory& inventory) {
    const std::string point = "power of hot-plug slots";
    const bool isAny = std::ranges::any_of(inventory.slots, &Slot::hotPlug);
    if (!isAny) return NotApplicable(point, "no slot has hot-plug");
    std::set<std::uint32_t> ports, cards;
    for (const Function& function : inventory.functions) {
        if (function.slotNumber) (function.isBridge ? ports : cards).insert(*function.slotNumber);
    }
    std::vector<std::string> dark;
    for (const Slot& slot : inventory.slots) {
        if (!slot.hotPlug || !slot.number || ports.contains(*slot.number)) continue;
        dark.push_back(slot.tag + (cards.contains(*slot.number) ? " (its card has the number)" : ""));
    }
    if (dark.empty()) return Passed(point, "a bridge reports the number of each");
    return Failed(
        point, "no bridge reports the number of " + Joined(dark) + ": never powered",
        "firmware that numbers the card and not the port; take PoweredOn of these slots for unknown");
}

}  // namespace

void JudgeMachine(const Facts& facts, std::vector<Verdict>& verdicts) {
    const Answers* told = facts.Told();
    if (told != nullptr) {
        verdicts.push_back(JudgeSuite(told->inventory, "chassis", L"Velk_ComputerSystemChassis"));
        verdicts.push_back(JudgeSuite(told->inventory, "computer system", L"Velk_WinComputerSystem"));
    }
    if (facts.firmware) {
        verdicts.push_back(JudgeFirmware(*facts.firmware));
        verdicts.push_back(JudgeDescribed(*facts.firmware));
        verdicts.push_back(JudgeListed(facts));
    } else {
        for (const char* point : {"firmware table", "slot types", "slots as described"})
            verdicts.push_back(NotApplicable(point, "asked of another computer"));
    }
    if (told != nullptr) verdicts.push_back(JudgePower(told->inventory));
}

}  // namespace velkpci
