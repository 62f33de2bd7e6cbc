#include "slots/slot_texts.h"

#include "framework/resource_string.h"
#include "slots/slot_kinds.h"

namespace velk {

namespace {

// Numbers in the string table.
constexpr UINT kCardTagText = 104;
constexpr UINT kCompatibilityText = 106;
constexpr UINT kSlotTagText = 112;
constexpr UINT kSlotNameText = 113;
constexpr UINT kLocationText = 135;

CString Load(UINT id) { return LoadResourceString(L"VelkWmiPci.dll", id); }

}  // namespace

CString SlotTag(std::uint32_t number) { return FormatText(Load(kSlotTagText).c_str(), number); }
CString SlotName(std::uint32_t number) { return FormatText(Load(kSlotNameText).c_str(), number); }
CString CardTag(std::uint32_t slotNumber) { return FormatText(Load(kCardTagText).c_str(), slotNumber); }
CString CompatibilityText() { return Load(kCompatibilityText); }
CString SlotPosition(std::uint32_t number) { return FormatText(L"%d", number); }
CString LocationDescription(std::uint32_t number) {
    return FormatText(Load(kLocationText).c_str(), number, number);
}

CString SlotKindText(SlotKind kind) {
    const unsigned text = RowOf(kind).text;
    return text == 0 ? CString() : Load(text);
}

CString SlotRelativePath(const CString& tag) {
    return FormatText(L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"%s\"", tag);
}

CString LocationRelativePath(const CString& name, const CString& position) {
    return FormatText(L"Velk_PCISlotLocation.Name=\"%s\",PhysicalPosition=\"%s\"", name, position);
}

CString CardRelativePath(const CString& tag) {
    return FormatText(L"Velk_PCICard.CreationClassName=\"Velk_PCICard\",Tag=\"%s\"", tag);
}

}  // namespace velk
