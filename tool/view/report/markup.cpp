#include "tool/view/report/markup.h"

namespace velkpci {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool IsForbidden(unsigned char c) { return (c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0x7F; }

}  // namespace

std::string EscapeMarkup(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const std::string_view three = text.substr(i, 3);
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<') {
            out += "&lt;";
        } else if (c == '>') {
            out += "&gt;";
        } else if (c == '"') {
            out += "&quot;";
        } else if (c == '\'') {
            out += "&#39;";
        } else if (IsForbidden(static_cast<unsigned char>(c))) {
            out += kReplacement;
        } else if (three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF") {
            out += kReplacement;
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

Markup::Element Markup::Open(const char* name, const Attributes& attributes) {
    Void(name, attributes);
    return Element(out_, name);
}

void Markup::Put(const char* name, const Attributes& attributes, std::string_view text) {
    const Element element = Open(name, attributes);
    Text(text);
}

void Markup::Void(const char* name, const Attributes& attributes) {
    out_ += std::string("<") + name;
    for (const auto& [attribute, value] : attributes)
        out_ += std::string(" ") + attribute + "=\"" + EscapeMarkup(value) + "\"";
    out_ += '>';
}

void Markup::Text(std::string_view text) { out_ += EscapeMarkup(text); }

}  // namespace velkpci
