#pragma once

#include <string>
#include <type_traits>

namespace velk {

/// The wide string of the whole module: UTF-16 on Windows. It is std::wstring and nothing else; the name is
/// the one that Windows code knows for such a text.
using CString = std::wstring;

namespace detail {

/// Formats with the platform's own wide formatter (see FormatText). Throws std::bad_alloc or
/// std::length_error.
CString FormatPlatform(const wchar_t* format, ...);

/// What a formatter argument is passed on as: texts by pointer, everything else as it is.
inline const wchar_t* FormatArgument(const CString& text) { return text.c_str(); }
inline const wchar_t* FormatArgument(const wchar_t* text) { return text; }
inline const char* FormatArgument(const char* text) { return text; }
template <class Number>
requires std::is_arithmetic_v<Number> || std::is_enum_v<Number> Number FormatArgument(Number number) {
    return number;
}

}  // namespace detail

/// The one formatter of the module, printf-like with the Windows meaning of the conversions: %s is wide text,
/// %S narrow text, %d and %ld are 32 bits wide, %I64u and %I64d 64 bits. A CString may be given wherever %s
/// stands. Throws std::bad_alloc or std::length_error.
template <class... Arguments>
CString FormatText(const wchar_t* format, const Arguments&... arguments) {
    return detail::FormatPlatform(format, detail::FormatArgument(arguments)...);
}

/// Compares without regard to case, in the C runtime's way (_wcsicmp).
bool EqualsIgnoringCase(const wchar_t* left, const wchar_t* right) noexcept;

/// The text in upper case, in the C runtime's way (_wcsupr).
CString ToUpper(CString text);

}  // namespace velk
