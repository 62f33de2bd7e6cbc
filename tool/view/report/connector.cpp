#include "tool/view/report/connector.h"

namespace velkpci {
namespace {

/// Lengths of the connector and of what comes before its key, in millimetres; 0 for none.
struct Shape {
    double length;
    double key;
};

// Layouts of the value map that are no PCI Express with lanes.
constexpr std::uint64_t kPci = 16;
constexpr std::uint64_t kPciX = 17;
constexpr std::uint64_t kPciExpress = 18;  ///< of another width, such as x12
constexpr double kPciExpressKey = 11.65;

Shape ShapeOf(const Slot& slot) {
    if (slot.lanes) {
        const std::uint32_t lanes = *slot.lanes;
        const double length = lanes <= 1 ? 25 : lanes == 2 ? 31 : lanes <= 4 ? 39 : lanes <= 8 ? 56 : 89;
        return {lanes <= 16 ? length : 126, kPciExpressKey};
    }
    switch (slot.layout.value.value_or(0)) {
        case kPci:
            return {85, 66};
        case kPciX:
            return {128, 66};
        case kPciExpress:
            return {72, kPciExpressKey};
        default:
            return {56, 0};
    }
}

std::string Pixels(double millimetres) {
    return std::to_string(static_cast<int>(millimetres * (kConnectorWidth - 2) / 128 + 0.5));
}

}  // namespace

void DrawConnector(const Slot& slot, Markup& out) {
    const Shape shape = ShapeOf(slot);
    out.Put("rect",
            {{"class", "connector-body"},
             {"x", "1"},
             {"y", "1"},
             {"width", Pixels(shape.length)},
             {"height", std::to_string(kConnectorHeight - 2)},
             {"rx", "2"}},
            {});
    if (shape.key == 0) return;
    std::string pins;
    for (double at = 2.5; at < shape.length - 2; at += 2) {
        const bool isKey = at > shape.key - 2 && at < shape.key + 2;
        if (!isKey)
            pins += "M" + std::to_string(1 + static_cast<int>(at * (kConnectorWidth - 2) / 128)) + " 5v6";
    }
    out.Put("path", {{"class", "connector-pins"}, {"d", pins}}, {});
    out.Put(
        "rect",
        {{"class", "connector-key"}, {"x", Pixels(shape.key)}, {"y", "4"}, {"width", "2"}, {"height", "8"}},
        {});
}

}  // namespace velkpci
