#pragma once

#include <string_view>

namespace velkhost {

// The characters that object paths, queries and MOF files are made of. What has a meaning in them is ASCII,
// so that only ASCII letters fold, whatever the locale.

template <class Character>
constexpr bool IsAsciiDigit(Character c) {
    return c >= Character{'0'} && c <= Character{'9'};
}

template <class Character>
constexpr Character ToLowerAscii(Character c) {
    return c >= Character{'A'} && c <= Character{'Z'} ? static_cast<Character>(c - 'A' + 'a') : c;
}

template <class Character>
constexpr bool IsAsciiLetter(Character c) {
    return ToLowerAscii(c) >= Character{'a'} && ToLowerAscii(c) <= Character{'z'};
}

/// The value of a digit in any base up to 16, or 16 when it is none.
template <class Character>
constexpr unsigned DigitValue(Character c) {
    if (IsAsciiDigit(c)) return static_cast<unsigned>(c - Character{'0'});
    const Character lower = ToLowerAscii(c);
    const bool isDigit = lower >= Character{'a'} && lower <= Character{'f'};
    return isDigit ? static_cast<unsigned>(lower - Character{'a'}) + 10 : 16;
}

/// WMI's identifiers: ASCII letters, digits, underscores, and anything beyond ASCII.
constexpr bool IsNameCharacter(wchar_t c) {
    return IsAsciiDigit(c) || IsAsciiLetter(c) || c == L'_' || static_cast<unsigned long>(c) >= 0x80;
}

constexpr bool EqualsAsciiWord(std::wstring_view text, std::wstring_view lowerCaseWord) {
    if (text.size() != lowerCaseWord.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (ToLowerAscii(text[i]) != lowerCaseWord[i]) return false;
    }
    return true;
}

}  // namespace velkhost
