#pragma once

#include "tool/inventory/inventory.h"
#include "tool/view/report/markup.h"
#include "tool/view/report/page_data.h"

namespace velkpci {

// What the page's main part consists of. A button with the attribute data-opens opens the instance of that
// number; the search hides elements with data-find.

/// The attributes of a button that opens an instance.
Markup::Attributes Opens(const PageData& data, const Instance& instance, const char* styleClass);

/// The chassis with their slots and cards, and cards in slots that nobody describes.
void WriteSlots(const Inventory& inventory, const PageData& data, Markup& out);

/// All functions by bus.
void WriteFunctions(const Inventory& inventory, const PageData& data, Markup& out);

}  // namespace velkpci
