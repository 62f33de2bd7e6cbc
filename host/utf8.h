#pragma once

#include <string>
#include <string_view>

namespace velkhost {

/// UTF-8 to UTF-16 and back. What is malformed becomes U+FFFD.
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

}  // namespace velkhost
