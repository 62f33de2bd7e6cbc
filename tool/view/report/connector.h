#pragma once

#include "tool/inventory/inventory.h"
#include "tool/view/report/markup.h"

namespace velkpci {

/// The space that every connector fits in, in pixels.
inline constexpr int kConnectorWidth = 182;
inline constexpr int kConnectorHeight = 16;

/// The connector of a slot, as one sees it on the board: as long as those of its kind are, with contacts and
/// key. The elements of a picture whose styles know the classes connector-body, connector-pins,
/// connector-key.
void DrawConnector(const Slot& slot, Markup& out);

}  // namespace velkpci
