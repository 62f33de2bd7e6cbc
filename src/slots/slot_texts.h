#pragma once

#include <cstdint>

#include "common/platform.h"
#include "common/text.h"
#include "smbios/system_slot.h"

namespace velk {

// Texts that slots, their locations, cards and the associations between them must agree on. All are made
// afresh from the module's string table, and all throw std::bad_alloc.

/// Key of a slot, and name of its location: "PCI Slot 3".
CString SlotTag(std::uint32_t number);
/// Name of a slot; translated apart from its tag.
CString SlotName(std::uint32_t number);
/// Key of the card in a slot: "PCI Card 3".
CString CardTag(std::uint32_t slotNumber);
/// What the maker calls compatible hardware; of slots and cards alike.
CString CompatibilityText();
/// The number alone: second key of a slot's location.
CString SlotPosition(std::uint32_t number);
/// Tells an operator where to look.
CString LocationDescription(std::uint32_t number);
/// Name of a kind of slot, "PCI Express" or the like; empty outside the PCI families.
CString SlotKindText(SlotKind kind);

/// Relative object paths.
CString SlotRelativePath(const CString& tag);
CString LocationRelativePath(const CString& name, const CString& position);
CString CardRelativePath(const CString& tag);

}  // namespace velk
