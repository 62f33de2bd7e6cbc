#include "common/text.h"

#include <cstdarg>
#include <cwchar>

#include "common/platform.h"

namespace velk {

namespace detail {

// The platform's _vsnwprintf, not the standard vswprintf: MinGW replaces the latter by one that reads %s as
// narrow text and does not know %I64u.
CString FormatPlatform(const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = _vscwprintf(format, arguments);
    va_end(arguments);

    CString text;
    try {
        if (length > 0) {
            text.resize(static_cast<std::size_t>(length));
            // Room for the characters alone: the terminator stands in the string's own spare element.
            _vsnwprintf(text.data(), text.size() + 1, format, again);
        }
    } catch (...) {
        va_end(again);
        throw;
    }
    va_end(again);
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
