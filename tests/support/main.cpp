#include <gmock/gmock.h>

#include <cstdio>
#include <cwchar>
#include <optional>
#include <string_view>

#include "common/platform.h"
#include "support/child_process.h"
#include "support/crash.h"
#include "support/stand_ins.h"

namespace {

decltype(&::GetModuleHandleW) g_getModuleHandle = nullptr;

HMODULE WINAPI FindModule(const wchar_t* name) {
    const bool isProduct = name != nullptr && std::wcscmp(name, L"VelkWmiPci.dll") == 0;
    return g_getModuleHandle(isProduct ? nullptr : name);
}

/// A program that carries the module's texts stands in for the module that they are looked up in by name.
std::optional<velktest::StandIn<decltype(&::GetModuleHandleW)>> StandInForTheModule() {
    constexpr WORD kBlockOfTheFirstText = 100 / 16 + 1;
    if (::FindResourceW(nullptr, MAKEINTRESOURCEW(kBlockOfTheFirstText), RT_STRING) == nullptr) return {};
    g_getModuleHandle = &::GetModuleHandleW;
    return std::optional<velktest::StandIn<decltype(&::GetModuleHandleW)>>(std::in_place, "GetModuleHandleW",
                                                                           &FindModule);
}

/// How many tests ran to their end: not those that a filter leaves out, and not those that were skipped.
int CompletedTests() {
    const testing::UnitTest& all = *testing::UnitTest::GetInstance();
    return all.test_to_run_count() - all.skipped_test_count();
}

}  // namespace

int main(int argc, char** argv) {
    velktest::EndAtCrashes();
    const bool isChild = argc > 1 && std::string_view(argv[1]) == velktest::kChildArgument;
    ::testing::InitGoogleMock(&argc, argv);
    const auto module = StandInForTheModule();
    const int result = RUN_ALL_TESTS();
    if (result != 0 || GTEST_FLAG_GET(list_tests)) return result;
    // GoogleTest is content when a filter matches nothing.
    if (CompletedTests() == 0) {
        std::fputs("No test ran.\n", stderr);
        return 1;
    }
    return isChild ? velktest::kChildPassed : 0;
}
