#include "pci/device_text.h"

#include <algorithm>

namespace velk {

namespace {

bool IsBlank(wchar_t c) { return c == L' ' || (c >= L'\t' && c <= L'\r'); }

int HexDigit(wchar_t c) {
    if (c >= L'0' && c <= L'9') return c - L'0';
    if (c >= L'a' && c <= L'f') return c - L'a' + 10;
    if (c >= L'A' && c <= L'F') return c - L'A' + 10;
    return -1;
}

wchar_t LowerAscii(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

bool EqualsWord(std::wstring_view token, std::wstring_view lowerWord) {
    return std::equal(token.begin(), token.end(), lowerWord.begin(), lowerWord.end(),
                      [](wchar_t left, wchar_t right) { return LowerAscii(left) == right; });
}

/// Reads a text from its start the way the scanf family does.
class Scanner {
  public:
    explicit Scanner(std::wstring_view text) : rest_(text) {}

    /// A literal of the format. False when it is not there.
    bool Literal(std::wstring_view literal) {
        while (!literal.empty() && !rest_.empty() && rest_.front() == literal.front()) {
            literal.remove_prefix(1);
            rest_.remove_prefix(1);
        }
        return literal.empty();
    }

    /// A %x conversion of at most `width` characters: blanks before it are skipped and do not count; a sign
    /// and a 0x are taken as the conversion takes them.
    bool Hex(std::size_t width, std::uint32_t& value) {
        while (!rest_.empty() && IsBlank(rest_.front())) rest_.remove_prefix(1);
        std::wstring_view field = rest_.substr(0, width);
        const bool negative = !field.empty() && field.front() == L'-';
        if (negative || (!field.empty() && field.front() == L'+')) field.remove_prefix(1);
        if (field.size() > 2 && field[0] == L'0' && LowerAscii(field[1]) == L'x' && HexDigit(field[2]) >= 0) {
            field.remove_prefix(2);
        }
        std::uint32_t number = 0;
        std::size_t digits = 0;
        for (; digits < field.size() && HexDigit(field[digits]) >= 0; ++digits) {
            number = number * 16 + static_cast<std::uint32_t>(HexDigit(field[digits]));
        }
        if (digits == 0) return false;
        value = negative ? 0u - number : number;
        rest_.remove_prefix(static_cast<std::size_t>(field.data() - rest_.data()) + digits);
        return true;
    }

    /// What a failure of the first conversion means.
    ScanResult Failure() const { return rest_.empty() ? ScanResult::kEndOfInput : ScanResult::kMismatch; }

  private:
    std::wstring_view rest_;
};

/// A decimal number in the way of _wtoi: leading blanks and a sign are skipped, it ends at the first other
/// character, and what exceeds the range stays at its end.
std::int32_t ParseDecimal(std::wstring_view text) {
    std::size_t at = 0;
    while (at < text.size() && IsBlank(text[at])) ++at;
    const bool negative = at < text.size() && text[at] == L'-';
    if (negative || (at < text.size() && text[at] == L'+')) ++at;
    constexpr std::int64_t kLimit = 0x7FFFFFFF;
    std::int64_t number = 0;
    for (; at < text.size() && text[at] >= L'0' && text[at] <= L'9'; ++at) {
        number = std::min(number * 10 + (text[at] - L'0'), kLimit + (negative ? 1 : 0));
    }
    return static_cast<std::int32_t>(negative ? -number : number);
}

/// The next token of a text whose tokens are separated by commas and blanks; empty at the end.
std::wstring_view NextToken(std::wstring_view& rest) {
    constexpr std::wstring_view kSeparators = L", ";
    const std::size_t begin = std::min(rest.find_first_not_of(kSeparators), rest.size());
    const std::size_t end = std::min(rest.find_first_of(kSeparators, begin), rest.size());
    const std::wstring_view token = rest.substr(begin, end - begin);
    rest.remove_prefix(end);
    return token;
}

}  // namespace

std::wstring_view FirstString(std::wstring_view buffer) noexcept {
    return buffer.substr(0, buffer.find(L'\0'));
}

std::wstring_view JoinMultiString(std::span<wchar_t> buffer) noexcept {
    // From the second character on: the first may be the NUL of an empty multi-string, which stays.
    bool replaced = false;
    for (std::size_t at = 1; at < buffer.size(); ++at) {
        if (buffer[at] != L'\0') {
            replaced = false;
            continue;
        }
        if (replaced) break;
        buffer[at] = L' ';
        replaced = true;
    }
    return FirstString({buffer.data(), buffer.size()});
}

ScanResult ScanHexByte(std::wstring_view text, std::size_t position, std::uint32_t& value) noexcept {
    Scanner scanner(text.substr(std::min(position, text.size()), 2));
    return scanner.Hex(2, value) ? ScanResult::kRead : scanner.Failure();
}

ScanResult ParseHardwareId(std::wstring_view hardwareId, HardwareIdNumbers& numbers) noexcept {
    Scanner scanner(FirstString(hardwareId));
    std::uint32_t number = 0;
    if (!scanner.Literal(L"PCI\\VEN_") || !scanner.Hex(4, number)) return scanner.Failure();
    numbers.vendorId = static_cast<std::uint16_t>(number);
    if (!scanner.Literal(L"&DEV_") || !scanner.Hex(4, number)) return ScanResult::kRead;
    numbers.deviceId = static_cast<std::uint16_t>(number);
    if (!scanner.Literal(L"&SUBSYS_") || !scanner.Hex(4, number)) return ScanResult::kRead;
    numbers.subsystemId = static_cast<std::uint16_t>(number);
    if (!scanner.Hex(4, number)) return ScanResult::kRead;
    numbers.subsystemVendorId = static_cast<std::uint16_t>(number);
    if (!scanner.Literal(L"&REV_") || !scanner.Hex(2, number)) return ScanResult::kRead;
    numbers.revisionId = static_cast<std::uint8_t>(number);
    return ScanResult::kRead;
}

bool ParseLocationText(std::wstring_view text, BusPosition& position) noexcept {
    std::wstring_view rest = FirstString(text);
    int found = 0;
    for (std::wstring_view token = NextToken(rest); !token.empty(); token = NextToken(rest)) {
        std::uint8_t* number = nullptr;
        if (EqualsWord(token, L"bus")) number = &position.bus;
        if (EqualsWord(token, L"device")) number = &position.device;
        if (EqualsWord(token, L"function")) number = &position.function;
        if (number == nullptr) continue;
        ++found;
        const std::wstring_view value = NextToken(rest);
        if (!value.empty()) *number = static_cast<std::uint8_t>(ParseDecimal(value));
    }
    return found == 3;
}

ScanResult ParseLocationPath(std::wstring_view path, BusPosition& position) noexcept {
    const std::wstring_view first = FirstString(path);
    const std::size_t root = first.find(L'#');
    // Behind the "#" stand four characters, PCI and a bracket, before the digits.
    const std::size_t digits = root == std::wstring_view::npos ? 4 : root + 5;
    Scanner scanner(first.substr(std::min(digits, first.size()), 4));
    std::uint32_t number = 0;
    if (!scanner.Hex(2, number)) return scanner.Failure();
    position.device = static_cast<std::uint8_t>(number);
    if (scanner.Hex(2, number)) position.function = static_cast<std::uint8_t>(number);
    return ScanResult::kRead;
}

bool ParseLocation(const LocationProperties& location, BusPosition& position) noexcept {
    if (ParseLocationText(location.text, position)) return true;
    // The bus number is a property of its own: it counts whatever becomes of the path.
    if (location.busNumber) position.bus = static_cast<std::uint8_t>(*location.busNumber);
    return ParseLocationPath(location.path, position) != ScanResult::kEndOfInput;
}

}  // namespace velk
