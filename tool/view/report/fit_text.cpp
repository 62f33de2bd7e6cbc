#include "tool/view/report/fit_text.h"

namespace velkpci {
namespace {

/// Of the letter that starts with that byte of UTF-8, in hundredths of the font's size.
int WidthOf(unsigned char lead) {
    if ((lead & 0xC0) == 0x80) return 0;
    // From three bytes on most are East Asian, which are as wide as high.
    return lead >= 0xE0 ? 100 : 58;
}

}  // namespace

std::string FitText(const std::string& text, int width, int fontSize) {
    const int space = width * 100 / fontSize;
    constexpr int kEllipsis = 100;
    int used = 0;
    std::size_t fitting = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int letter = WidthOf(static_cast<unsigned char>(text[i]));
        if (letter != 0 && used + kEllipsis <= space) fitting = i;
        used += letter;
        if (used > space) return text.substr(0, fitting) + "\xE2\x80\xA6";
    }
    return text;
}

}  // namespace velkpci
