#include "pci/device_text.h"

#include <gtest/gtest.h>

#include <string>

namespace velk {
namespace {

std::wstring Join(std::wstring buffer) { return std::wstring(JoinMultiString(buffer)); }

using namespace std::string_literals;

TEST(JoinMultiString, PutsABlankBehindEveryText) {
    EXPECT_EQ(Join(L"PCI\\CC_0604&DT_4\0PCI\\CC_0604\0\0"s), L"PCI\\CC_0604&DT_4 PCI\\CC_0604 ");
    EXPECT_EQ(Join(L"one\0\0"s), L"one ");
}

TEST(JoinMultiString, StopsAtTheDoubleZero) { EXPECT_EQ(Join(L"a\0b\0\0rubbish\0\0"s), L"a b "); }

TEST(JoinMultiString, AnEmptyMultiStringIsEmpty) {
    EXPECT_EQ(Join(L"\0\0"s), L"");
    EXPECT_EQ(Join(L"\0\0\0\0"s), L"");
    EXPECT_EQ(Join(L""), L"");
}

TEST(JoinMultiString, ABufferWithoutATerminatorIsJoinedToItsEnd) {
    EXPECT_EQ(Join(L"abc"), L"abc");
    EXPECT_EQ(Join(L"a\0b"s), L"a b");
}

TEST(FirstString, EndsAtTheFirstZero) {
    EXPECT_EQ(FirstString(L"a\0b"s), L"a");
    EXPECT_EQ(FirstString(L"ab"), L"ab");
}

struct HexCase {
    const wchar_t* text;
    ScanResult result;
    std::uint32_t value;
};

class ScanHexByteReads : public ::testing::TestWithParam<HexCase> {};

TEST_P(ScanHexByteReads, TwoCharactersAsTheScanfFamilyDoes) {
    std::uint32_t value = 0x77;
    EXPECT_EQ(ScanHexByte(GetParam().text, 2, value), GetParam().result);
    EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    DeviceText, ScanHexByteReads,
    ::testing::Values(HexCase{L"__0280", ScanResult::kRead, 0x02}, HexCase{L"__fF", ScanResult::kRead, 0xFF},
                      HexCase{L"__aA", ScanResult::kRead, 0xAA}, HexCase{L"__90", ScanResult::kRead, 0x90},
                      HexCase{L"__@`", ScanResult::kMismatch, 0x77}, HexCase{L"__+7", ScanResult::kRead, 0x7},
                      HexCase{L"__-7", ScanResult::kRead, 0xFFFFFFF9},
                      HexCase{L"__0x", ScanResult::kRead, 0x0}, HexCase{L"__1", ScanResult::kRead, 0x1},
                      HexCase{L"__1G", ScanResult::kRead, 0x1}, HexCase{L"__ 7", ScanResult::kRead, 0x7},
                      HexCase{L"__\t7", ScanResult::kRead, 0x7}, HexCase{L"__\r7", ScanResult::kRead, 0x7},
                      HexCase{L"__\x0E"
                              L"7",
                              ScanResult::kMismatch, 0x77},
                      HexCase{L"__ZZ", ScanResult::kMismatch, 0x77},
                      HexCase{L"__ P", ScanResult::kMismatch, 0x77},
                      HexCase{L"__", ScanResult::kEndOfInput, 0x77},
                      HexCase{L"__ ", ScanResult::kEndOfInput, 0x77},
                      HexCase{L"_", ScanResult::kEndOfInput, 0x77}));

TEST(ParseHardwareId, ReadsAllFiveNumbers) {
    HardwareIdNumbers numbers;
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_8086&DEV_A0D8&SUBSYS_72708087&REV_20", numbers), ScanResult::kRead);
    EXPECT_EQ(numbers.vendorId, 0x8086);
    EXPECT_EQ(numbers.deviceId, 0xA0D8);
    EXPECT_EQ(numbers.subsystemId, 0x7270);
    EXPECT_EQ(numbers.subsystemVendorId, 0x8087);
    EXPECT_EQ(numbers.revisionId, 0x20);
}

TEST(ParseHardwareId, AcceptsAnIdWithoutATail) {
    HardwareIdNumbers numbers;
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_8086&DEV_1234", numbers), ScanResult::kRead);
    EXPECT_EQ(numbers.vendorId, 0x8086);
    EXPECT_EQ(numbers.deviceId, 0x1234);
    EXPECT_EQ(numbers.subsystemId, 0);
    EXPECT_EQ(numbers.subsystemVendorId, 0);
    EXPECT_EQ(numbers.revisionId, 0);
}

TEST(ParseHardwareId, TakesABaseOrASignInFrontOfTheDigitsAsScanfDoes) {
    HardwareIdNumbers numbers;
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_0x1F&DEV_0X2&SUBSYS_-00100x1&REV_", numbers), ScanResult::kRead);
    EXPECT_EQ(numbers.vendorId, 0x1F);
    EXPECT_EQ(numbers.deviceId, 0x2);
    EXPECT_EQ(numbers.subsystemId, 0xFFFF) << "-001, four characters wide";
    EXPECT_EQ(numbers.subsystemVendorId, 0x0) << "00x1: the base stands not in front";
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_0x0F", numbers), ScanResult::kRead);
    EXPECT_EQ(numbers.vendorId, 0x0F) << "the digit behind the base is a zero";
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_0x1", numbers), ScanResult::kRead);
    EXPECT_EQ(numbers.vendorId, 0x1) << "the text ends with the first digit";
}

TEST(ParseHardwareId, ReadsNoMoreThanFourDigitsOfANumberAndTwoOfTheRevision) {
    struct {
        const wchar_t* id;
        std::uint16_t vendor, device, subsystem, subsystemVendor;
        std::uint8_t revision;
    } const cases[] = {
        {L"PCI\\VEN_80867&DEV_1521&SUBSYS_00A215D9&REV_01", 0x8086, 0, 0, 0, 0},
        {L"PCI\\VEN_8086&DEV_15217&SUBSYS_00A215D9&REV_01", 0x8086, 0x1521, 0, 0, 0},
        {L"PCI\\VEN_8086&DEV_1521&SUBSYS_00A215D97&REV_01", 0x8086, 0x1521, 0xA2, 0x15D9, 0},
        {L"PCI\\VEN_8086&DEV_1521&SUBSYS_00A215D9&REV_017", 0x8086, 0x1521, 0xA2, 0x15D9, 0x01},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(expected.id)));
        HardwareIdNumbers numbers;
        EXPECT_EQ(ParseHardwareId(expected.id, numbers), ScanResult::kRead);
        EXPECT_EQ(numbers.vendorId, expected.vendor);
        EXPECT_EQ(numbers.deviceId, expected.device);
        EXPECT_EQ(numbers.subsystemId, expected.subsystem);
        EXPECT_EQ(numbers.subsystemVendorId, expected.subsystemVendor);
        EXPECT_EQ(numbers.revisionId, expected.revision);
    }
}

TEST(ParseHardwareId, StopsAtTheFirstPartThatDiffers) {
    HardwareIdNumbers numbers;
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_8086&DEV_1234&CC_0604&REV_20", numbers), ScanResult::kRead);
    EXPECT_EQ(numbers.deviceId, 0x1234);
    EXPECT_EQ(numbers.revisionId, 0);
}

TEST(ParseHardwareId, OnlyTextThatEndsTooEarlyIsEndOfInput) {
    HardwareIdNumbers numbers;
    EXPECT_EQ(ParseHardwareId(L"", numbers), ScanResult::kEndOfInput);
    EXPECT_EQ(ParseHardwareId(L"PCI\\VE", numbers), ScanResult::kEndOfInput);
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_", numbers), ScanResult::kEndOfInput);
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_xyz", numbers), ScanResult::kMismatch);
    EXPECT_EQ(ParseHardwareId(L"*PNP0A08", numbers), ScanResult::kMismatch);
    EXPECT_EQ(numbers.vendorId, 0);
}

struct LocationCase {
    const wchar_t* text;
    bool succeeds;
    int bus;
    int device;
    int function;
};

/// Numbers that the text does not set keep what they were: 91, 92 and 93.
class ParseLocationTextReads : public ::testing::TestWithParam<LocationCase> {};

TEST_P(ParseLocationTextReads, TheNumberBehindEachWord) {
    BusPosition position{91, 92, 93};
    EXPECT_EQ(ParseLocationText(GetParam().text, position), GetParam().succeeds);
    EXPECT_EQ(position.bus, GetParam().bus);
    EXPECT_EQ(position.device, GetParam().device);
    EXPECT_EQ(position.function, GetParam().function);
}

INSTANTIATE_TEST_SUITE_P(
    DeviceText, ParseLocationTextReads,
    ::testing::Values(LocationCase{L"PCI bus 0, device 28, function 0", true, 0, 28, 0},
                      LocationCase{L"PCI Bus 2, DEVICE 0, Function 1", true, 2, 0, 1},
                      LocationCase{L"PCI Slot 3 (PCI bus 2, device 0, function 1)", true, 2, 0, 1},
                      LocationCase{L"PCI segment 1 bus 2, device 3, function 4", true, 2, 3, 4},
                      // The segment packed above the bus number falls off.
                      LocationCase{L"PCI bus 5598976, device 2, function 0", true, 0, 2, 0},
                      LocationCase{L"PCI bus 260, device 2, function 0", true, 4, 2, 0},
                      LocationCase{L"PCI bus 99999999999, device 2, function 0", true, 255, 2, 0},
                      LocationCase{L"PCI-Bus 0, Ger\x00e4t 20, Funktion 0", false, 91, 92, 93},
                      LocationCase{L"Bus PCI 3, p\x00e9riph\x00e9rique 0, fonction 0", false, 0, 92, 93},
                      // The word behind "bus" is taken as its number and is no keyword any more.
                      LocationCase{L"bus device 2, function 3", false, 0, 92, 3},
                      LocationCase{L"bus 1, device 2, function", true, 1, 2, 93},
                      LocationCase{L"bus x, device y, function z", true, 0, 0, 0},
                      LocationCase{L"bus 1, bus 2, device 3, function 4", false, 2, 3, 4},
                      LocationCase{L"bus -1, device +2, function 3", true, 255, 2, 3},
                      LocationCase{L"bus \t1, device \v\r2, function 3", true, 1, 2, 3},
                      LocationCase{L"bus \t, device \t+, function -", true, 0, 0, 0},
                      LocationCase{L",,, , ,", false, 91, 92, 93}, LocationCase{L"", false, 91, 92, 93}));

struct PathCase {
    const wchar_t* path;
    ScanResult result;
    int device;
    int function;
};

class ParseLocationPathReads : public ::testing::TestWithParam<PathCase> {};

TEST_P(ParseLocationPathReads, TheElementNearestTheRoot) {
    BusPosition position{91, 92, 93};
    EXPECT_EQ(ParseLocationPath(GetParam().path, position), GetParam().result);
    EXPECT_EQ(position.bus, 91);
    EXPECT_EQ(position.device, GetParam().device);
    EXPECT_EQ(position.function, GetParam().function);
}

INSTANTIATE_TEST_SUITE_P(DeviceText, ParseLocationPathReads,
                         ::testing::Values(PathCase{L"PCIROOT(0)#PCI(1F03)", ScanResult::kRead, 0x1F, 3},
                                           PathCase{L"PCIROOT(0)#PCI(1C00)#PCI(0001)", ScanResult::kRead,
                                                    0x1C, 0},
                                           // Four characters alone, blanks among them.
                                           PathCase{L"PCIROOT(0)#PCI( 1F03)", ScanResult::kRead, 0x1F, 0},
                                           PathCase{L"PCIROOT(20)#PCI(03", ScanResult::kRead, 3, 93},
                                           PathCase{L"PCIROOT(0)#PCI(0", ScanResult::kRead, 0, 93},
                                           PathCase{L"PCIROOT(0)#PCI(", ScanResult::kEndOfInput, 92, 93},
                                           PathCase{L"PCIROOT(0)#", ScanResult::kEndOfInput, 92, 93},
                                           PathCase{L"PCIROOT(0)#ACPI(PC00)", ScanResult::kMismatch, 92, 93},
                                           // Without a "#" the fifth character counts.
                                           PathCase{L"PCI(1E02)", ScanResult::kRead, 0x1E, 2},
                                           PathCase{L"PCIROOT(0)", ScanResult::kMismatch, 92, 93},
                                           PathCase{L"PCI(", ScanResult::kEndOfInput, 92, 93},
                                           PathCase{L"", ScanResult::kEndOfInput, 92, 93}));

TEST(ParseLocationPath, ReadsTheFirstStringAlone) {
    BusPosition position;
    EXPECT_EQ(ParseLocationPath(L"AB#PC\0ACPI(_SB_)#ACPI(PC00)"s, position), ScanResult::kEndOfInput);
}

TEST(ParseLocation, TheTextIsEnough) {
    BusPosition position{91, 92, 93};
    EXPECT_TRUE(ParseLocation({L"bus 1, device 2, function 3", L"PCIROOT(0)#PCI(1F07)", 9}, position));
    EXPECT_EQ(position.bus, 1);
    EXPECT_EQ(position.device, 2);
    EXPECT_EQ(position.function, 3);
}

struct PlaceCase {
    const wchar_t* path;
    std::optional<std::uint32_t> busNumber;
    bool found;
    int bus;
    int device;
    int function;
};

class ParseLocationWithoutText : public ::testing::TestWithParam<PlaceCase> {};

TEST_P(ParseLocationWithoutText, TakesPathAndBusNumberEachForItself) {
    BusPosition position{91, 92, 93};
    EXPECT_EQ(ParseLocation({L"somewhere", GetParam().path, GetParam().busNumber}, position),
              GetParam().found);
    EXPECT_EQ(position.bus, GetParam().bus);
    EXPECT_EQ(position.device, GetParam().device);
    EXPECT_EQ(position.function, GetParam().function);
}

INSTANTIATE_TEST_SUITE_P(DeviceText, ParseLocationWithoutText,
                         ::testing::Values(PlaceCase{L"PCIROOT(0)#PCI(1F03)", 0x109, true, 9, 0x1F, 3},
                                           PlaceCase{L"PCIROOT(0)#ACPI(PC00)", 0x109, true, 9, 92, 93},
                                           PlaceCase{L"PCIROOT(0)#PCI(", 0x109, false, 9, 92, 93},
                                           PlaceCase{L"", 0, false, 0, 92, 93},
                                           PlaceCase{L"PCIROOT(0)#PCI(1F03)", {}, true, 91, 0x1F, 3},
                                           PlaceCase{L"", {}, false, 91, 92, 93}));

/// What SetupAPI may fill of a property: 2,048 bytes.
constexpr std::size_t kFullProperty = 1024;

TEST(HostileDeviceText, AFullPropertyWithoutATerminatorIsReadToItsEnd) {
    EXPECT_EQ(Join(std::wstring(kFullProperty, L'x')), std::wstring(kFullProperty, L'x'));
    EXPECT_EQ(Join(std::wstring(kFullProperty, L'\0')), L"");

    // The last two characters are the class code's, or one of them, or none.
    std::wstring ids = std::wstring(kFullProperty - 7, L'x') + L"CC_0604";
    std::uint32_t subclass = 0x77;
    EXPECT_EQ(ScanHexByte(ids, kFullProperty - 2, subclass), ScanResult::kRead);
    EXPECT_EQ(subclass, 0x04u);
    EXPECT_EQ(ScanHexByte(ids, kFullProperty - 1, subclass), ScanResult::kRead);
    EXPECT_EQ(ScanHexByte(ids, kFullProperty, subclass), ScanResult::kEndOfInput);
}

TEST(HostileDeviceText, NumbersOfAnyLengthKeepTheirFirstDigits) {
    HardwareIdNumbers numbers;
    EXPECT_EQ(ParseHardwareId(L"PCI\\VEN_" + std::wstring(kFullProperty, L'8'), numbers), ScanResult::kRead);
    EXPECT_EQ(numbers.vendorId, 0x8888);
    EXPECT_EQ(numbers.deviceId, 0);

    BusPosition position{};
    const std::wstring digits(kFullProperty, L'9');
    EXPECT_TRUE(ParseLocationText(L"bus " + digits + L", device -" + digits + L", function 0", position));
    // The ends of the range of 32 bits, of which the low byte is kept.
    EXPECT_EQ(position.bus, 0xFF);
    EXPECT_EQ(position.device, 0x00);
}

TEST(HostileDeviceText, AMegabyteOfSeparatorsHasNoNumbers) {
    BusPosition position{91, 92, 93};
    EXPECT_FALSE(ParseLocationText(std::wstring(1 << 20, L','), position));
    EXPECT_EQ(ParseLocationPath(std::wstring(1 << 20, L'#'), position), ScanResult::kMismatch);
    EXPECT_EQ(position.bus, 91);
    EXPECT_EQ(position.device, 92);
    EXPECT_EQ(position.function, 93);
}

}  // namespace
}  // namespace velk
