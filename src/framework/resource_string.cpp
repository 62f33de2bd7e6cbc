#include "framework/resource_string.h"

#include <atomic>
#include <optional>
#include <string_view>

namespace velk {

namespace {

// What the first call settles. Two first calls at once settle the same, so no lock is needed; `g_settled` is
// stored last.
constinit std::atomic<HMODULE> g_module{nullptr};
constinit std::atomic<LCID> g_locale{0};
constinit std::atomic<bool> g_settled{false};

constexpr WORD kUsEnglish = 1033;
constexpr UINT kTextsPerBlock = 16;

/// The texts are stored in blocks of 16, each a 16-bit count of characters followed by the characters,
/// without a terminator. A count of 0 stands for a text that is not there.
std::optional<std::wstring_view> FindText(const wchar_t* block, std::size_t length, UINT index) {
    std::size_t position = 0;
    for (;; --index) {
        if (position >= length) return std::nullopt;
        const std::size_t count = block[position++];
        if (count > length - position) return std::nullopt;
        if (index == 0) {
            if (count == 0) return std::nullopt;
            return std::wstring_view(block + position, count);
        }
        position += count;
    }
}

std::optional<std::wstring_view> FindText(HMODULE module, WORD language, UINT id) {
    // Without a module the system would look in the host program, whose texts are no formats of ours.
    if (module == nullptr) return std::nullopt;
    const UINT block = id / kTextsPerBlock + 1;
    if (block > 0xFFFF) return std::nullopt;  // resource numbers have 16 bits
    const HRSRC found = ::FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(block), language);
    if (found == nullptr) return std::nullopt;
    const HGLOBAL loaded = ::LoadResource(module, found);
    if (loaded == nullptr) return std::nullopt;
    const auto* text = static_cast<const wchar_t*>(::LockResource(loaded));
    if (text == nullptr) return std::nullopt;
    return FindText(text, ::SizeofResource(module, found) / sizeof(wchar_t), id % kTextsPerBlock);
}

}  // namespace

CString LoadResourceString(const wchar_t* moduleFile, UINT id) {
    if (!g_settled.load(std::memory_order_acquire)) {
        // One that cannot be had is kept like any other: a module that comes under that name later is not
        // this one.
        g_module.store(::GetModuleHandleW(moduleFile), std::memory_order_relaxed);
        g_locale.store(::GetThreadLocale(), std::memory_order_relaxed);
        g_settled.store(true, std::memory_order_release);
    }
    const HMODULE module = g_module.load(std::memory_order_relaxed);
    const LCID locale = g_locale.load(std::memory_order_relaxed);

    std::optional<std::wstring_view> text = FindText(module, LANGIDFROMLCID(locale), id);
    if (!text) text = FindText(module, kUsEnglish, id);
    return CString(text.value_or(L"<String could not be found!>"));
}

}  // namespace velk
