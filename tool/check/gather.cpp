#include "tool/check/gather.h"

#include "common/handle.h"
#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/basics/version.h"

namespace velkpci {
namespace {

std::string WindowsText(HKEY key, const wchar_t* name) {
    wchar_t text[256];
    DWORD size = sizeof text;
    const LSTATUS read = ::RegGetValueW(key, nullptr, name, RRF_RT_REG_SZ, nullptr, text, &size);
    return read == ERROR_SUCCESS ? velkhost::Utf8FromWide(text) : std::string();
}

/// From the registry: what the version functions answer depends on the program's manifest.
std::string WindowsVersion() {
    velk::UniqueRegistryKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion", 0,
                        KEY_QUERY_VALUE, key.Put()) != ERROR_SUCCESS)
        return {};
    DWORD revision = 0;
    DWORD size = sizeof revision;
    const bool hasRevision = ::RegGetValueW(key.Get(), nullptr, L"UBR", RRF_RT_REG_DWORD, nullptr, &revision,
                                            &size) == ERROR_SUCCESS;
    return WindowsText(key.Get(), L"ProductName") + ", build " +
           WindowsText(key.Get(), L"CurrentBuildNumber") +
           (hasRevision ? "." + std::to_string(revision) : std::string());
}

/// The DLL alone, to compare WMI of this computer with; the suite's two classes are there where WMI has them.
Answers GatherBesideWmi(const SourceOptions& options, const Answers& wmi, const Console& console) {
    SourceOptions changed = options;
    changed.provider = true;
    const ClassData* chassis = wmi.inventory.Class(L"Velk_ComputerSystemChassis");
    changed.standalone = chassis != nullptr && chassis->definition != nullptr;
    try {
        return GatherAnswers(changed, console);
    } catch (const InputError& error) {
        // The class definitions are missing beside the program: a finding, and not the end of the check.
        Answers refused;
        refused.connected = E_FAIL;
        refused.refusal = error.what();
        return refused;
    }
}

}  // namespace

Facts GatherFacts(const SourceOptions& options, const Console& console) {
    const bool asksWmi = !options.machine && !options.provider;
    const bool isThisComputer = !options.machine && !options.computer;
    Facts facts;
    facts.programVersion = kVersion;
    facts.windows = WindowsVersion();
    // The logs first: WMI's host is to write its line before the DLL is loaded here.
    std::optional<LogWatch> watch;
    if (isThisComputer) watch.emplace();
    Answers answers = GatherAnswers(options, console);
    if (watch) facts.logs = watch->Finish();
    facts.source = answers.inventory.source;
    (options.provider ? facts.inProcess : facts.wmi) = std::move(answers);
    if (asksWmi && isThisComputer) facts.inProcess = GatherBesideWmi(options, *facts.wmi, console);
    if (!options.computer) {
        facts.registration = GatherRegistration();
        facts.firmware = GatherFirmware(options);
    }
    return facts;
}

}  // namespace velkpci
