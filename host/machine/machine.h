#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/platform.h"

namespace velkhost {

/// A machine file that cannot be used. The text names the file and the JSON path of the offending value.
class MachineError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A value as the registry holds it, and a device property as SetupAPI hands it out.
struct RegistryValue {
    DWORD type = REG_NONE;  ///< REG_SZ, REG_MULTI_SZ, REG_DWORD, or whatever an odd case needs
    std::vector<BYTE> bytes;

    static RegistryValue Text(const std::wstring& text);
    static RegistryValue Texts(const std::vector<std::wstring>& texts);
    static RegistryValue Number(DWORD number);
    bool operator==(const RegistryValue&) const = default;
};

/// One device of the Plug and Play database. A property that is not in the map is absent.
struct PnpDevice {
    std::wstring enumerator = L"PCI";
    std::wstring instanceId;  ///< with the enumerator: PCI\VEN_...\...
    bool present = true;
    std::map<DWORD, RegistryValue> properties;  ///< by SPDRP_ code

    void SetText(DWORD property, const std::wstring& text);
    void SetTexts(DWORD property, const std::vector<std::wstring>& texts);
    void SetNumber(DWORD property, DWORD number);
};

/// What GetComputerNameExW answers by format. A name that is absent makes the call fail.
struct ComputerNames {
    std::optional<std::wstring> dnsFullyQualified;
    std::optional<std::wstring> dnsHostname;
    std::optional<std::wstring> netbios;
};

/// The firmware's structure table without its entry point, as Windows hands it out.
struct SmbiosFirmware {
    std::uint8_t majorVersion = 0;
    std::uint8_t minorVersion = 0;
    std::vector<std::uint8_t> table;
};

/// An instance that another provider of the machine would serve.
struct SuiteObject {
    std::wstring nameSpace;  ///< as in root\VKQ
    std::wstring className;
    /// A JSON object, property name to value. As text: most of what knows machines does not know JSON.
    std::string properties;
};

/// Everything about a machine that the provider can see.
struct Machine {
    std::wstring about;  ///< for people: why the machine is kept, or where it came from
    ComputerNames names;
    std::vector<PnpDevice> devices;  ///< in SetupAPI's enumeration order
    std::optional<SmbiosFirmware> smbios;
    /// Whether the management suite's classes of computer system and chassis are there, as standalone.mof
    /// defines them.
    bool suite = false;
    std::vector<SuiteObject> objects;
    /// The provider's settings: the values of its registry key, by name. Without any of this the machine says
    /// nothing about settings; an empty map is a key without values.
    std::optional<std::map<std::wstring, RegistryValue>> settings;
};

/// Reads a machine file. Throws MachineError.
Machine LoadMachine(const std::filesystem::path& file);

/// The same from JSON text; `origin` stands for the file's name in errors. Throws MachineError.
Machine ParseMachine(const std::string& json, const std::string& origin);

}  // namespace velkhost
