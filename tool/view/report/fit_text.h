#pragma once

#include <string>

namespace velkpci {

/// The text, or as much of its beginning as fits into `width` pixels with an ellipsis after it. A drawing
/// cannot ask how wide its letters become: they are taken for wider than those of common fonts are.
std::string FitText(const std::string& text, int width, int fontSize);

}  // namespace velkpci
