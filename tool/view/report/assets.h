#pragma once

#include <string>

namespace velkpci {

/// A file of this folder that the build puts into the program.
struct EmbeddedText {
    std::string text;
    std::string hash;  ///< "sha256-...", as a content security policy names the text
};

const EmbeddedText& PageCss();
const EmbeddedText& PageJs();
const EmbeddedText& PictureCss();

}  // namespace velkpci
