#include "module/registry_script.h"

#include "fuzz/input.h"

using velk::RegistryKeyRule;
using velkfuzz::Require;

namespace {

std::wstring Quoted(std::wstring_view text) { return L"'" + velk::EscapeQuotes(text) + L"'"; }

void WriteData(std::wstring& out, const velk::RegistryData& data) {
    out += L" = ";
    out += data.number ? L"d '" + std::to_wstring(*data.number) + L"'" : L"s " + Quoted(data.text);
}

void WriteItems(std::wstring& out, const std::vector<velk::RegistryValue>& values,
                const std::vector<velk::RegistryKeyEntry>& children, int depth) {
    static constexpr const wchar_t* kRules[] = {L"", L"ForceRemove ", L"NoRemove ", L"Delete "};
    Require(depth <= 32, "nesting is bounded");
    out += L" { ";
    for (const velk::RegistryValue& value : values) {
        out += L"val " + Quoted(value.name);
        WriteData(out, value.data);
        out += L" ";
    }
    for (const velk::RegistryKeyEntry& key : children) {
        Require(!key.name.empty() && key.name.size() <= 255 &&
                    key.name.find_first_of(std::wstring_view(L"\\\0", 2)) == key.name.npos,
                "a key name names one key");
        out += kRules[static_cast<int>(key.rule)] + Quoted(key.name);
        if (key.defaultValue) WriteData(out, *key.defaultValue);
        WriteItems(out, key.values, key.children, depth + 1);
    }
    out += L" } ";
}

std::wstring Write(const velk::RegistryScript& script) {
    static constexpr const wchar_t* kRoots[] = {L"HKCR", L"HKCU", L"HKLM", L"HKU", L"HKPD", L"HKDD", L"HKCC"};
    std::wstring out;
    for (const velk::RegistryBlock& block : script) {
        out += kRoots[static_cast<int>(block.root)];
        WriteItems(out, block.values, block.children, 1);
    }
    return out;
}

}  // namespace

// A script that parses is the same tree when it is written out and parsed again; an error names a place in
// the text and leaves the result alone.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const velkfuzz::WideInput input(data, size);
    const velk::RegistryReplacements names = {{L"CLSID", L"{00000000-0000-0000-0000-000000000000}"},
                                              {L"Module", L"C:\\it''s %CLSID%"},
                                              {L"E", L""}};
    std::wstring text = L"untouched";
    if (const auto error = velk::ReplaceNames(input.Text(), names, text)) {
        Require(error->position < input.Text().size(), "an error in a name lies in the text");
        Require(text == L"untouched", "a failed replacement leaves the result alone");
        text = input.Text();
    }

    velk::RegistryScript script(1);
    if (const auto error = velk::ParseRegistryScript(text, script)) {
        Require(error->position <= text.size() && *error->reason != '\0',
                "an error has a place and a reason");
        Require(script.size() == 1, "a failed parse leaves the result alone");
        return 0;
    }
    const std::wstring written = Write(script);
    velk::RegistryScript again;
    Require(!velk::ParseRegistryScript(written, again), "what was written parses");
    Require(Write(again) == written, "what was written is the same tree");
    return 0;
}
