#include "module/server_registration.h"

#include <string>
#include <vector>

#include "module/identifiers.h"
#include "module/resources/resource_ids.h"
#include "module/type_library.h"

namespace velk {

namespace {

/// A script that does not parse. The scripts are the module's own, so nobody but its developers ever sees it.
constexpr HRESULT kMalformedScript = static_cast<HRESULT>(0x8007000DL);  // ERROR_INVALID_DATA

/// Empty, with GetLastError(), when the system does not tell it.
std::wstring ModulePath(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        // A full buffer means a truncated path.
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

std::wstring GuidText(const GUID& guid) {
    constexpr int kLength = 38;  // with braces
    std::wstring text(kLength, L'\0');
    ::StringFromGUID2(guid, text.data(), kLength + 1);
    return text;
}

/// The text of a registry script resource. The scripts are ASCII.
std::wstring ScriptText(HMODULE module, WORD id) {
    const HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(id), L"REGISTRY");
    if (found == nullptr) return {};
    const HGLOBAL loaded = ::LoadResource(module, found);
    if (loaded == nullptr) return {};
    const auto* const bytes = static_cast<const unsigned char*>(::LockResource(loaded));
    if (bytes == nullptr) return {};
    return std::wstring(bytes, bytes + ::SizeofResource(module, found));
}

RegistryReplacements ClassReplacements(const RegistryReplacements& standard, const ClassTableEntry& entry) {
    RegistryReplacements replacements = standard;
    replacements.emplace_back(L"CLSID", GuidText(entry.clsid));
    replacements.emplace_back(L"ProgID", entry.progId);
    replacements.emplace_back(L"VersionIndependentProgID", entry.versionIndependentProgId);
    replacements.emplace_back(L"FriendlyName", entry.description);
    return replacements;
}

/// Replaces, parses and appends. False when there is no text or it does not parse.
bool AppendScript(const std::wstring& text, const RegistryReplacements& replacements,
                  std::vector<RegistryScript>& scripts) {
    std::wstring replaced;
    return !text.empty() && !ReplaceNames(text, replacements, replaced) &&
           !ParseRegistryScript(replaced, scripts.emplace_back());
}

/// The AppID's script, then one script per class.
bool ReadScripts(HMODULE module, const std::wstring& modulePath, std::span<const ClassTableEntry> classes,
                 std::vector<RegistryScript>& scripts) {
    const RegistryReplacements standard = StandardReplacements(modulePath);
    if (!AppendScript(ScriptText(module, VELK_APPID_SCRIPT), standard, scripts)) return false;
    const std::wstring classText = ScriptText(module, VELK_CLASS_SCRIPT);
    for (const ClassTableEntry& entry : classes) {
        if (!AppendScript(classText, ClassReplacements(standard, entry), scripts)) return false;
    }
    return true;
}

}  // namespace

RegistryReplacements StandardReplacements(const std::wstring& modulePath) {
    return {{L"Module", EscapeQuotes(modulePath)}, {L"Module_Raw", modulePath}, {L"APPID", GuidText(kAppId)}};
}

HRESULT RegisterServer(HMODULE module, std::span<const ClassTableEntry> classes, RegistrationScope scope) {
    const std::wstring modulePath = ModulePath(module);
    // Registered without it, no class could be found.
    if (modulePath.empty()) return HRESULT_FROM_WIN32(::GetLastError());
    std::vector<RegistryScript> scripts;
    if (!ReadScripts(module, modulePath, classes, scripts)) return kMalformedScript;

    Registrar registrar(scope);
    for (const RegistryScript& script : scripts) {
        const LSTATUS status = registrar.Register(script);
        if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
    }
    const HRESULT result = RegisterTypeLibrary(modulePath, scope);
    if (SUCCEEDED(result)) registrar.Commit();
    return SUCCEEDED(result) ? S_OK : result;
}

HRESULT UnregisterServer(HMODULE module, std::span<const ClassTableEntry> classes, RegistrationScope scope) {
    const std::wstring modulePath = ModulePath(module);
    std::vector<RegistryScript> scripts;
    if (!ReadScripts(module, modulePath, classes, scripts)) return kMalformedScript;

    LSTATUS result = ERROR_SUCCESS;
    for (const RegistryScript& script : scripts) {
        const LSTATUS status = Unregister(script, scope);
        if (result == ERROR_SUCCESS) result = status;
    }
    const HRESULT ofTypeLibrary = UnregisterTypeLibrary(modulePath, scope);
    return result != ERROR_SUCCESS ? HRESULT_FROM_WIN32(static_cast<DWORD>(result)) : ofTypeLibrary;
}

}  // namespace velk
