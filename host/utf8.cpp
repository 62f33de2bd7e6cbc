#include "host/utf8.h"

#include "common/platform.h"

namespace velkhost {

std::wstring WideFromUtf8(std::string_view text) {
    const int length = static_cast<int>(text.size());
    if (length == 0) return {};
    std::wstring wide(
        static_cast<std::size_t>(::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string Utf8FromWide(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    if (length == 0) return {};
    std::string narrow(static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, text.data(), length,
                                                                      nullptr, 0, nullptr, nullptr)),
                       '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), static_cast<int>(narrow.size()),
                          nullptr, nullptr);
    return narrow;
}

}  // namespace velkhost
