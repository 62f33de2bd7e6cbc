#include <cwchar>
#include <string>

#include "fuzz/input.h"
#include "pci/device_text.h"

using velkfuzz::Require;

// The numbers are those that the C library's scanf reads from the first string. A "0x" inside a number is
// left to the parser's own tests: C libraries differ in how much of one they take when no digit follows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const velkfuzz::WideInput input(data, size);
    velk::HardwareIdNumbers numbers;
    const velk::ScanResult result = velk::ParseHardwareId(input.Text(), numbers);

    const std::wstring_view first = velk::FirstString(input.Text());
    Require(velkfuzz::LiesInside(input.Text(), first), "the first string lies in the buffer");
    if (first.find_first_of(L"xX") != first.npos) return 0;

    unsigned expected[5] = {};
    const int read =
        std::swscanf(std::wstring(first).c_str(), L"PCI\\VEN_%04x&DEV_%04x&SUBSYS_%04x%04x&REV_%02x",
                     &expected[0], &expected[1], &expected[2], &expected[3], &expected[4]);
    Require((result == velk::ScanResult::kRead) == (read > 0), "a number is read where scanf reads one");
    Require((result == velk::ScanResult::kEndOfInput) == (read < 0),
            "the end is told from a mismatch as by scanf");
    Require(numbers.vendorId == static_cast<std::uint16_t>(expected[0]),
            "the vendor is the one that scanf reads");
    Require(numbers.deviceId == static_cast<std::uint16_t>(expected[1]),
            "the device is the one that scanf reads");
    Require(numbers.subsystemId == static_cast<std::uint16_t>(expected[2]) &&
                numbers.subsystemVendorId == static_cast<std::uint16_t>(expected[3]),
            "the subsystem is the one that scanf reads");
    Require(numbers.revisionId == static_cast<std::uint8_t>(expected[4]),
            "the revision is the one that scanf reads");
    return 0;
}
