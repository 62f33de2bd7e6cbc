#include "framework/resource_string.h"

#include <gmock/gmock.h>

#include <vector>

#include "support/child_process.h"
#include "support/stand_ins.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using velk::CString;
using velk::LoadResourceString;
using velktest::StandIn;

constexpr wchar_t kModule[] = L"VelkWmiPci.dll";
constexpr wchar_t kNotFound[] = L"<String could not be found!>";

// The test program carries the module's resources and stands in for the module of that name.

TEST(ResourceStringTest, EveryTextOfTheTableIsServed) {
    const std::vector<std::pair<UINT, CString>> table = {
        {100, L"VelkWmiPci"},
        {101, L"PCI Chip"},
        {102, L"PCI Chip %d"},
        {103, L"PCI Card"},
        {104, L"PCI Card %d"},
        {105, L"PCI Card (Hosting Board)"},
        {106, L"VKQ:PCICard"},
        {112, L"PCI Slot %d"},
        {113, L"PCI Slot %d"},
        {116, L"PCI-X"},
        {117, L"PCI-66"},
        {118, L"PCI"},
        {119, L"PCI Express"},
        {120, L"Unexpected slot type"},
        {121, L"PCI Slot"},
        {135, L"The location of PCI slot %d.  Please refer to PCI slot position %d printed on the system."},
    };
    for (const auto& [id, text] : table) EXPECT_EQ(LoadResourceString(kModule, id), text) << id;
}

TEST(ResourceStringTest, NumbersWithoutATextGiveTheReport) {
    for (const UINT id :
         {0U, 16U, 99U, 107U, 111U, 114U, 122U, 134U, 136U, 65535U, 0x100000U + 104U, 0xFFFFFFFFU})
        EXPECT_EQ(LoadResourceString(kModule, id), kNotFound) << id;
}

// What the first call settles can only be seen in a fresh process.

std::vector<WORD> g_languages;
std::vector<CString> g_modules;

HRSRC WINAPI RecordLanguage(HMODULE, const wchar_t*, const wchar_t*, WORD language) {
    g_languages.push_back(language);
    return nullptr;
}
HMODULE WINAPI RecordModule(const wchar_t* name) {
    g_modules.emplace_back(name);
    return reinterpret_cast<HMODULE>(0x10000);  // for RecordLanguage, which does not look at it
}
HMODULE WINAPI RefuseModule(const wchar_t*) { return nullptr; }
LCID WINAPI GermanLocale() { return 0x10407; }
LCID WINAPI FrenchLocale() { return 0x40C; }

TEST(ResourceStringTest, DISABLED_FirstCallSettlesModuleAndLanguage) {
    const StandIn find("FindResourceExW", &RecordLanguage);
    {
        const StandIn locale("GetThreadLocale", &GermanLocale);
        const StandIn handle("GetModuleHandleW", &RecordModule);
        EXPECT_EQ(LoadResourceString(kModule, 112), kNotFound);
    }
    const StandIn locale("GetThreadLocale", &FrenchLocale);
    const StandIn handle("GetModuleHandleW", &RecordModule);
    EXPECT_EQ(LoadResourceString(L"other.dll", 112), kNotFound);

    // The locale's low 16 bits, then US English; the second caller's locale and module do not count.
    EXPECT_THAT(g_languages, ElementsAre(0x407, 1033, 0x407, 1033));
    EXPECT_THAT(g_modules, ElementsAre(CString(kModule)));
}

TEST(ResourceStringTest, FirstCallSettlesModuleAndLanguage) {
    EXPECT_EQ(velktest::ChildProcess(L"ResourceStringTest.DISABLED_FirstCallSettlesModuleAndLanguage").Wait(),
              0U);
}

TEST(ResourceStringTest, DISABLED_WithoutTheModuleNothingIsReadThenOrLater) {
    const StandIn find("FindResourceExW", &RecordLanguage);
    {
        const StandIn handle("GetModuleHandleW", &RefuseModule);
        EXPECT_EQ(LoadResourceString(kModule, 112), kNotFound);
    }
    const StandIn handle("GetModuleHandleW", &RecordModule);
    EXPECT_EQ(LoadResourceString(kModule, 112), kNotFound);
    EXPECT_THAT(g_languages, IsEmpty()) << "without a module the host program's own texts are looked up";
    EXPECT_THAT(g_modules, IsEmpty()) << "the first call settles that there is none";
}

TEST(ResourceStringTest, WithoutTheModuleNothingIsReadThenOrLater) {
    EXPECT_EQ(velktest::ChildProcess(L"ResourceStringTest.DISABLED_WithoutTheModuleNothingIsReadThenOrLater")
                  .Wait(),
              0U);
}

// Blocks that were cut off.

std::vector<wchar_t> g_block;
DWORD g_blockBytes = 0;

HRSRC WINAPI FindBlock(HMODULE, const wchar_t*, const wchar_t*, WORD) {
    return reinterpret_cast<HRSRC>(&g_block);
}
HGLOBAL WINAPI LoadBlock(HMODULE, HRSRC) { return &g_block; }
void* WINAPI LockBlock(HGLOBAL) { return g_block.data(); }
DWORD WINAPI SizeOfBlock(HMODULE, HRSRC) { return g_blockBytes; }

CString LoadFrom(std::vector<wchar_t> block, UINT id, DWORD cutBytes = 0) {
    g_block = std::move(block);
    g_blockBytes = static_cast<DWORD>(g_block.size() * sizeof(wchar_t)) - cutBytes;
    const StandIn find("FindResourceExW", &FindBlock);
    const StandIn load("LoadResource", &LoadBlock);
    const StandIn lock("LockResource", &LockBlock);
    const StandIn size("SizeofResource", &SizeOfBlock);
    return LoadResourceString(kModule, id);
}

TEST(ResourceStringTest, BlocksAreReadInsideTheirBoundsAlone) {
    EXPECT_EQ(LoadFrom({2, 'a', 'b', 0, 1, 'c'}, 16), L"ab");
    EXPECT_EQ(LoadFrom({2, 'a', 'b', 0, 1, 'c'}, 18), L"c") << "an empty entry is skipped";
    EXPECT_EQ(LoadFrom({2, 'a', 'b', 0, 1, 'c'}, 17), kNotFound) << "an empty entry is no text";
    EXPECT_EQ(LoadFrom({2, 'a', 'b', 0, 1, 'c'}, 19), kNotFound) << "the block ends before the entry";
    EXPECT_EQ(LoadFrom({3, 'a', 'b'}, 16), kNotFound) << "the text exceeds the block";
    EXPECT_EQ(LoadFrom({3, 'a', 'b'}, 17), kNotFound) << "a skipped text exceeds the block";
    EXPECT_EQ(LoadFrom({0xFFFF}, 31), kNotFound);
    EXPECT_EQ(LoadFrom({2, 'a', 'b'}, 16, 1), kNotFound) << "half a character is missing";
    EXPECT_EQ(LoadFrom({1}, 16, 1), kNotFound) << "half a count";
}

HGLOBAL WINAPI LoadFails(HMODULE, HRSRC) { return nullptr; }
void* WINAPI LockFails(HGLOBAL) { return nullptr; }

TEST(ResourceStringTest, ResourceThatCannotBeLoadedGivesTheReport) {
    {
        const StandIn load("LoadResource", &LoadFails);
        EXPECT_EQ(LoadResourceString(kModule, 112), kNotFound);
    }
    const StandIn lock("LockResource", &LockFails);
    EXPECT_EQ(LoadResourceString(kModule, 112), kNotFound);
}

/// A text in the locale's language counts before the English one.
HRSRC WINAPI FindBlockUnlessEnglish(HMODULE, const wchar_t*, const wchar_t*, WORD language) {
    return language == 1033 ? nullptr : reinterpret_cast<HRSRC>(&g_block);
}

TEST(ResourceStringTest, DISABLED_TextOfTheLocaleComesFirst) {
    const StandIn locale("GetThreadLocale", &GermanLocale);
    g_block = {1, L'g'};
    g_blockBytes = 4;
    const StandIn find("FindResourceExW", &FindBlockUnlessEnglish);
    const StandIn load("LoadResource", &LoadBlock);
    const StandIn lock("LockResource", &LockBlock);
    const StandIn size("SizeofResource", &SizeOfBlock);
    EXPECT_EQ(LoadResourceString(kModule, 16), L"g");
}

TEST(ResourceStringTest, TextOfTheLocaleComesFirst) {
    EXPECT_EQ(velktest::ChildProcess(L"ResourceStringTest.DISABLED_TextOfTheLocaleComesFirst").Wait(), 0U);
}

TEST(ResourceStringTest, DISABLED_EnglishServesWhatTheLocaleLacks) {
    const StandIn locale("GetThreadLocale", &GermanLocale);
    EXPECT_EQ(LoadResourceString(kModule, 112), L"PCI Slot %d");
}

TEST(ResourceStringTest, EnglishServesWhatTheLocaleLacks) {
    EXPECT_EQ(velktest::ChildProcess(L"ResourceStringTest.DISABLED_EnglishServesWhatTheLocaleLacks").Wait(),
              0U);
}

}  // namespace
