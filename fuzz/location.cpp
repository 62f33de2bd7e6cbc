#include <cwchar>
#include <limits>
#include <string>

#include "fuzz/input.h"
#include "pci/device_text.h"

using velk::BusPosition;
using velkfuzz::Require;

namespace {

constexpr BusPosition kBefore{0xA1, 0xA2, 0xA3};

bool Same(const BusPosition& left, const BusPosition& right) {
    return left.bus == right.bus && left.device == right.device && left.function == right.function;
}

std::uint8_t ByteOf(const wchar_t* decimal) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::uint8_t>(
        std::clamp<long long>(std::wcstoll(decimal, nullptr, 10), Limits::min(), Limits::max()));
}

/// The location text by the C library's tokenizer and number reader.
bool ReadByLibrary(std::wstring text, BusPosition& position) {
    int found = 0;
    wchar_t* rest = nullptr;
    for (const wchar_t* token = std::wcstok(text.data(), L", ", &rest); token != nullptr;
         token = std::wcstok(nullptr, L", ", &rest)) {
        std::uint8_t* number = nullptr;
        if (::wcscasecmp(token, L"bus") == 0) number = &position.bus;
        if (::wcscasecmp(token, L"device") == 0) number = &position.device;
        if (::wcscasecmp(token, L"function") == 0) number = &position.function;
        if (number == nullptr) continue;
        ++found;
        const wchar_t* value = std::wcstok(nullptr, L", ", &rest);
        if (value != nullptr) *number = ByteOf(value);
    }
    return found == 3;
}

}  // namespace

// A location text is read as the C library's tokenizer, word comparison and number reader read it; a location
// path leaves the bus alone, and both see the first string only.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const velkfuzz::WideInput input(data, size);
    const std::wstring first(velk::FirstString(input.Text()));

    BusPosition position = kBefore;
    BusPosition expected = kBefore;
    const bool complete = velk::ParseLocationText(input.Text(), position);
    Require(complete == ReadByLibrary(first, expected), "three words make a location");
    Require(Same(position, expected), "the numbers are those behind the words");

    const BusPosition afterText = position;
    position = kBefore;
    const velk::ScanResult result = velk::ParseLocationPath(input.Text(), position);
    Require(position.bus == kBefore.bus, "a location path leaves the bus alone");
    Require(result == velk::ScanResult::kRead || Same(position, kBefore),
            "what is not read is left as it was");

    // Text and path of one function, here with the same words; the bus number's low byte is C4h.
    BusPosition both = kBefore;
    const bool placed = velk::ParseLocation({input.Text(), input.Text(), 0x1C4}, both);
    BusPosition fallback = afterText;
    if (result == velk::ScanResult::kRead) velk::ParseLocationPath(input.Text(), fallback);
    fallback.bus = 0xC4;
    Require(Same(both, complete ? afterText : fallback), "the path and the bus number stand in for the text");
    Require(placed == (complete || result != velk::ScanResult::kEndOfInput), "one of the two places it");

    const std::size_t root = first.find(L'#');
    const std::size_t digits = root == first.npos ? 4 : root + 5;
    const std::wstring field = digits < first.size() ? first.substr(digits, 4) : std::wstring();
    // C libraries differ in how much of a "0x" without a digit they take.
    if (field.find_first_of(L"xX") != field.npos) return 0;
    unsigned device = kBefore.device;
    unsigned function = kBefore.function;
    const int read = std::swscanf(field.c_str(), L"%02x%02x", &device, &function);
    Require((result == velk::ScanResult::kRead) == (read > 0) &&
                (result == velk::ScanResult::kEndOfInput) == (read < 0),
            "a location path is read where scanf reads it");
    Require(position.device == static_cast<std::uint8_t>(device) &&
                position.function == static_cast<std::uint8_t>(function),
            "the numbers are those that scanf reads");
    return 0;
}
