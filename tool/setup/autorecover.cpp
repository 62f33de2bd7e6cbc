#include "tool/setup/autorecover.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "common/handle.h"

namespace velkpci {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kKey[] = L"SOFTWARE\\Microsoft\\WBEM\\CIMOM";
constexpr wchar_t kValue[] = L"Autorecover MOFs";

std::wstring Expanded(const std::wstring& text) {
    std::wstring expanded(::ExpandEnvironmentStringsW(text.c_str(), nullptr, 0), L'\0');
    const DWORD length =
        ::ExpandEnvironmentStringsW(text.c_str(), expanded.data(), static_cast<DWORD>(expanded.size()));
    if (length == 0 || length > expanded.size()) return text;
    expanded.resize(length - 1);
    return expanded;
}

bool IsSamePath(const std::wstring& left, const std::wstring& right) {
    return ::CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_EQUAL;
}

std::string BytesOf(const fs::path& file) {
    std::ifstream input(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(input), {}};
}

bool IsBelow(const fs::path& file, const fs::path& folder) {
    return IsSamePath(file.parent_path().wstring(), folder.wstring());
}

bool IsCopy(const fs::path& file, const std::vector<fs::path>& ours) {
    const std::string bytes = BytesOf(file);
    return !bytes.empty() &&
           std::ranges::any_of(ours, [&](const fs::path& each) { return BytesOf(each) == bytes; });
}

/// False when the value is not there or is no list.
bool ReadList(HKEY key, std::vector<std::wstring>& lines) {
    DWORD type = 0;
    DWORD size = 0;
    if (::RegQueryValueExW(key, kValue, nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
        type != REG_MULTI_SZ)
        return false;
    std::wstring text(size / sizeof(wchar_t), L'\0');
    if (::RegQueryValueExW(key, kValue, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size) !=
        ERROR_SUCCESS)
        return false;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(L'\0', at), text.size());
        if (end > at) lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return true;
}

bool WriteList(HKEY key, const std::vector<std::wstring>& lines) {
    std::wstring text;
    for (const std::wstring& line : lines) text.append(line).push_back(L'\0');
    text.push_back(L'\0');
    return ::RegSetValueExW(key, kValue, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(text.data()),
                            static_cast<DWORD>(text.size() * sizeof(wchar_t))) == ERROR_SUCCESS;
}

}  // namespace

bool IsLineOf(const std::wstring& line, const std::vector<fs::path>& ours, const fs::path& copies) {
    const std::wstring file = Expanded(line);
    if (std::ranges::any_of(ours, [&](const fs::path& each) { return IsSamePath(file, each.wstring()); }))
        return true;
    return IsBelow(file, copies) && IsCopy(file, ours);
}

std::size_t ForgetFiles(const std::vector<fs::path>& ours, const fs::path& copies) {
    velk::UniqueRegistryKey key;
    std::vector<std::wstring> lines;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, key.Put()) !=
            ERROR_SUCCESS ||
        !ReadList(key.Get(), lines))
        return 0;
    const auto isOurs = [&](const std::wstring& line) { return IsLineOf(line, ours, copies); };
    std::vector<std::wstring> others;
    std::ranges::remove_copy_if(lines, std::back_inserter(others), isOurs);
    if (others.size() == lines.size() || !WriteList(key.Get(), others)) return 0;
    for (const std::wstring& line : lines) {
        std::error_code ignored;
        const fs::path file = Expanded(line);
        if (IsBelow(file, copies) && IsCopy(file, ours)) fs::remove(file, ignored);
    }
    return lines.size() - others.size();
}

}  // namespace velkpci
