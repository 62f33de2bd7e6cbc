#include <cwchar>
#include <string>

#include "fuzz/input.h"
#include "pci/device_text.h"

using velkfuzz::Require;

namespace {

/// The texts with a blank behind each, made from the strings instead of in place.
std::wstring Joined(std::wstring_view buffer) {
    std::wstring joined;
    while (!buffer.empty()) {
        const std::size_t end = buffer.find(L'\0');
        if (end == buffer.npos) return joined.append(buffer);
        if (end == 0) return joined;
        joined.append(buffer.substr(0, end)).append(L" ");
        buffer.remove_prefix(end + 1);
    }
    return joined;
}

}  // namespace

// The joined text lies in the buffer and is what the strings make; the class code is read behind it as the C
// library's scanf reads it, from wherever the class ID was found.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    velkfuzz::WideInput input(data, size);
    const std::wstring expected = Joined(input.Text());
    const std::wstring_view joined = velk::JoinMultiString(input.Buffer());
    Require(velkfuzz::LiesInside(input.Text(), joined), "the joined text lies in the buffer");
    Require(joined == expected, "the joined text is each string and a blank");

    const std::size_t classId = joined.find(velk::kBridgeClassId);
    const std::size_t position =
        classId == joined.npos ? joined.size() : classId + velk::kBridgeClassId.size();
    const std::wstring twoDigits(joined.substr(std::min(position, joined.size()), 2));
    unsigned expectedNumber = 0;
    const int read = std::swscanf(twoDigits.c_str(), L"%02x", &expectedNumber);
    std::uint32_t number = 0;
    const velk::ScanResult result = velk::ScanHexByte(joined, position, number);
    Require((result == velk::ScanResult::kRead) == (read == 1), "a number is read where scanf reads one");
    Require(number == expectedNumber, "the number is the one that scanf reads");
    if (twoDigits.empty())
        Require(result == velk::ScanResult::kEndOfInput, "the end of the text is reported");
    Require(velk::ScanHexByte(joined, ~std::size_t{0}, number) == velk::ScanResult::kEndOfInput,
            "a position behind the text is its end");
    return 0;
}
