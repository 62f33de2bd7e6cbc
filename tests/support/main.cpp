#include <gmock/gmock.h>

#include <cwchar>
#include <optional>

#include "common/platform.h"
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

}  // namespace

int main(int argc, char** argv) {
    // A crash must end the test run with a failing code, never with a dialog that nobody sees.
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    ::testing::InitGoogleMock(&argc, argv);
    const auto module = StandInForTheModule();
    return RUN_ALL_TESTS();
}
