#include "common/text.h"

#include <cstdarg>
#include <cwchar>
#include <iterator>

#include "common/platform.h"

namespace velk {

namespace {

/// Ends an argument list on every way out.
struct VaListEnd {
    va_list& arguments;
    ~VaListEnd() { va_end(arguments); }
};

}  // namespace

namespace detail {

// The platform's _vsnwprintf, not the standard vswprintf: MinGW replaces the latter by one that reads %s as
// narrow text and does not know %I64u.
CString FormatPlatform(const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const VaListEnd end{arguments};

    // Nearly every text fits, and is then formatted once.
    wchar_t shortText[256];
    va_list first;
    va_copy(first, arguments);
    const int shortLength = _vsnwprintf(shortText, std::size(shortText), format, first);
    va_end(first);
    // Negative for a text that is longer, and for one that cannot be formatted.
    if (shortLength >= 0) return CString(shortText, static_cast<std::size_t>(shortLength));

    va_list second;
    va_copy(second, arguments);
    const int length = _vscwprintf(format, second);
    va_end(second);
    if (length <= 0) return {};
    CString text(static_cast<std::size_t>(length), L'\0');
    // Room for the characters alone: the terminator stands in the string's own spare element.
    _vsnwprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

}  // namespace detail

bool EqualsIgnoringCase(const wchar_t* left, const wchar_t* right) noexcept {
    return _wcsicmp(left, right) == 0;
}

CString ToUpper(CString text) {
    _wcsupr(text.data());
    return text;
}

}  // namespace velk
