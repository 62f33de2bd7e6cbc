#include "common/log_configuration.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/registry_fixture.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using velktest::kCommonLogKey;

class LogConfigurationTest : public ::testing::Test {
  protected:
    DWORD Read() { return ReadLogConfiguration(L"VelkWBEMServer", L"VelkWmiPci.DLL", configuration_); }
    LONG ReadLevel() {
        Read();
        return configuration_.level;
    }
    LONG ReadSize() {
        Read();
        return configuration_.maxSize;
    }
    void Set(const wchar_t* name, DWORD value) { registry_.SetDword(kCommonLogKey, name, value); }

    velktest::RegistryFixture registry_;
    velktest::FakeWindowsDirectory windows_{L"C:\\fake"};
    LogConfiguration configuration_;
};

constexpr wchar_t kBaseLevel[] = L"LogLevel (VELKWBEMSERVER)";
constexpr wchar_t kModuleLevel[] = L"LogLevel (VELKWBEMSERVER:VELKWMIPCI.DLL)";
constexpr wchar_t kBaseSize[] = L"LogMaxSize (VELKWBEMSERVER)";

TEST_F(LogConfigurationTest, WithoutKeyTheDefaultsAreASuccess) {
    EXPECT_EQ(Read(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(configuration_.folder, L"C:\\fake\\system32\\wbem\\logs\\");
    EXPECT_EQ(configuration_.level, 3);
    EXPECT_EQ(configuration_.maxSize, 2097152);
}

TEST_F(LogConfigurationTest, EmptyKeyGivesTheDefaultsAndAnError) {
    registry_.MakeKey(kCommonLogKey);
    EXPECT_EQ(Read(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(configuration_.folder, L"C:\\fake\\system32\\wbem\\logs\\");
    EXPECT_EQ(configuration_.level, 3);
    EXPECT_EQ(configuration_.maxSize, 2097152);
}

TEST_F(LogConfigurationTest, WindowsDirectoryThatDoesNotFitIsLeftOut) {
    const velktest::FakeWindowsDirectory windows(CString(MAX_PATH, L'w'));
    EXPECT_EQ(DefaultLogFolder(), L"\\system32\\wbem\\logs\\");
}

TEST_F(LogConfigurationTest, CompleteConfigurationIsASuccess) {
    registry_.SetText(kCommonLogKey, L"LogFolder", L"D:\\logs\\");
    Set(L"LogLevel", 2);
    Set(L"LogMaxSize", 0x90000);
    EXPECT_EQ(Read(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(configuration_.folder, L"D:\\logs\\");
    EXPECT_EQ(configuration_.level, 2);
    EXPECT_EQ(configuration_.maxSize, 0x90000);
}

TEST_F(LogConfigurationTest, EachMissingOrInvalidValueMakesTheResultAnError) {
    const auto setAll = [this] {
        registry_.SetText(kCommonLogKey, L"LogFolder", L"D:\\logs");
        Set(L"LogLevel", 4);
        Set(L"LogMaxSize", 0x80000);
    };
    setAll();
    EXPECT_EQ(Read(), DWORD{ERROR_SUCCESS});
    Set(L"LogFolder", 1);
    EXPECT_EQ(Read(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(configuration_.folder, L"C:\\fake\\system32\\wbem\\logs\\");
    EXPECT_EQ(configuration_.level, 4) << "the others are read all the same";
    setAll();
    Set(L"LogLevel", 6);
    EXPECT_EQ(Read(), DWORD{ERROR_INVALID_PARAMETER});
    setAll();
    Set(L"LogMaxSize", 1);
    EXPECT_EQ(Read(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(LogConfigurationTest, FolderGetsTheBackslashThatItLacks) {
    registry_.SetText(kCommonLogKey, L"LogFolder", L"D:\\logs");
    Read();
    EXPECT_EQ(configuration_.folder, L"D:\\logs\\");
}

TEST_F(LogConfigurationTest, EmptyFolderStaysEmpty) {
    registry_.SetText(kCommonLogKey, L"LogFolder", L"");
    Read();
    EXPECT_EQ(configuration_.folder, L"");
}

TEST_F(LogConfigurationTest, FolderStoredWithoutTerminatorIsReadWhole) {
    registry_.SetBytes(kCommonLogKey, L"LogFolder", REG_SZ, L"D:\\logs", 7 * sizeof(wchar_t));
    Read();
    EXPECT_EQ(configuration_.folder, L"D:\\logs\\");
}

TEST_F(LogConfigurationTest, EveryValidLevelIsTaken) {
    for (DWORD level = 1; level <= 5; ++level) {
        Set(L"LogLevel", level);
        EXPECT_EQ(ReadLevel(), static_cast<LONG>(level));
    }
}

TEST_F(LogConfigurationTest, LevelOutOfRangeStaysInForceAndStopsTheOverrides) {
    Set(kBaseLevel, 2);
    Set(kModuleLevel, 4);
    for (const DWORD level : {0UL, 6UL, 1000UL}) {
        Set(L"LogLevel", level);
        EXPECT_EQ(ReadLevel(), static_cast<LONG>(level));
    }
    Set(L"LogLevel", 0xFFFFFFFF);
    EXPECT_EQ(ReadLevel(), -1);
}

TEST_F(LogConfigurationTest, MissingLevelStopsTheOverrides) {
    Set(kBaseLevel, 2);
    Set(kModuleLevel, 4);
    EXPECT_EQ(ReadLevel(), 3);
}

TEST_F(LogConfigurationTest, LevelOfAnotherTypeCountsAsMissing) {
    Set(kBaseLevel, 2);
    registry_.SetText(kCommonLogKey, L"LogLevel", L"5");
    EXPECT_EQ(ReadLevel(), 3);
    registry_.SetBytes(kCommonLogKey, L"LogLevel", REG_DWORD, "\5\0", 2);
    EXPECT_EQ(ReadLevel(), 3);
}

TEST_F(LogConfigurationTest, BaseOverrideReplacesTheLevel) {
    Set(L"LogLevel", 3);
    Set(kBaseLevel, 2);
    EXPECT_EQ(ReadLevel(), 2);
}

TEST_F(LogConfigurationTest, BaseOverrideOutOfRangeIsIgnoredAndStopsTheModuleOverride) {
    Set(L"LogLevel", 3);
    Set(kModuleLevel, 1);
    for (const DWORD level : {7UL, 6UL, 0UL}) {
        Set(kBaseLevel, level);
        EXPECT_EQ(ReadLevel(), 3);
    }
}

TEST_F(LogConfigurationTest, ModuleOverrideNeedsTheBaseOverride) {
    Set(L"LogLevel", 3);
    Set(kModuleLevel, 1);
    EXPECT_EQ(ReadLevel(), 3);
    Set(kBaseLevel, 2);
    EXPECT_EQ(ReadLevel(), 1);
    Set(kModuleLevel, 6);
    EXPECT_EQ(ReadLevel(), 2);
}

TEST_F(LogConfigurationTest, SizeAtTheEndsOfTheRangeLetsTheOverrideCount) {
    Set(kBaseSize, 600000);
    for (const DWORD size : {524288UL, 33554432UL}) {
        Set(L"LogMaxSize", size);
        EXPECT_EQ(ReadSize(), 600000);
    }
}

TEST_F(LogConfigurationTest, SizeOutsideTheRangeStaysInForceAndStopsTheOverride) {
    Set(kBaseSize, 600000);
    for (const DWORD size : {524287UL, 33554433UL, 0UL}) {
        Set(L"LogMaxSize", size);
        EXPECT_EQ(ReadSize(), static_cast<LONG>(size));
    }
}

TEST_F(LogConfigurationTest, MissingSizeStopsTheOverride) {
    Set(kBaseSize, 600000);
    registry_.SetText(kCommonLogKey, L"LogFolder", L"D:\\logs");
    EXPECT_EQ(ReadSize(), 2097152);
}

TEST_F(LogConfigurationTest, SizeOverrideOutsideTheRangeIsIgnored) {
    Set(L"LogMaxSize", 700000);
    for (const DWORD size : {524287UL, 33554433UL}) {
        Set(kBaseSize, size);
        EXPECT_EQ(ReadSize(), 700000);
    }
    for (const DWORD size : {524288UL, 33554432UL}) {
        Set(kBaseSize, size);
        EXPECT_EQ(ReadSize(), static_cast<LONG>(size));
    }
}

TEST_F(LogConfigurationTest, SizeDoesNotDependOnTheLevelBeingValid) {
    Set(L"LogLevel", 6);
    Set(L"LogMaxSize", 700000);
    Set(kBaseSize, 600000);
    EXPECT_EQ(ReadSize(), 600000);
}

/// The value names that are asked for, in order, each once.
std::vector<CString> namesAsked;
decltype(&::RegQueryValueExW) queryValue = nullptr;

LSTATUS WINAPI NoteName(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data,
                        DWORD* size) {
    if (namesAsked.empty() || namesAsked.back() != name) namesAsked.push_back(name);
    return queryValue(key, name, reserved, type, data, size);
}

// The registry takes a name in any case; what watches the registry shows it as it was asked for.
TEST_F(LogConfigurationTest, OverridesAreAskedForInUpperCase) {
    Set(L"LogLevel", 2);
    Set(kBaseLevel, 2);
    Set(L"LogMaxSize", 0x90000);
    namesAsked.clear();
    queryValue = &::RegQueryValueExW;
    const velktest::StandIn<decltype(&::RegQueryValueExW)> standIn("RegQueryValueExW", &NoteName);
    Read();
    EXPECT_EQ(namesAsked, (std::vector<CString>{L"LogFolder", L"LogLevel", kBaseLevel, kModuleLevel,
                                                L"LogMaxSize", kBaseSize}));
}

}  // namespace
}  // namespace velk
