#include "host/machine/machine.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "host/machine/json_node.h"
#include "host/machine/machine_format.h"
#include "host/utf8.h"

namespace velkhost {

namespace {

void AppendText(std::vector<BYTE>& bytes, const std::wstring& text) {
    const std::size_t size = (text.size() + 1) * sizeof(wchar_t);
    bytes.resize(bytes.size() + size);
    std::memcpy(bytes.data() + bytes.size() - size, text.c_str(), size);
}

RegistryValue ReadRawValue(const JsonNode& node) {
    node.AllowOnly({"type", "hex"});
    const auto type = node.Find("type");
    const auto hex = node.Find("hex");
    if (!type || !hex) node.Fail("type and hex are expected");
    if (type->Value().is_number()) return {type->Number(), hex->HexBytes()};
    const std::string name = Utf8FromWide(type->Text());
    for (const RegistryTypeName& known : kRegistryTypes) {
        if (name == known.name) return {known.type, hex->HexBytes()};
    }
    type->Fail("unknown registry type");
}

void ReadProperty(const DevicePropertyName& known, const JsonNode& node, PnpDevice& device) {
    switch (known.form) {
        case PropertyForm::kText:
            device.SetText(known.code, node.Text());
            break;
        case PropertyForm::kTexts:
            device.SetTexts(known.code, node.Texts());
            break;
        case PropertyForm::kNumber:
            device.SetNumber(known.code, node.Number());
            break;
    }
}

void ReadRawProperties(const JsonNode& node, PnpDevice& device) {
    for (const auto& [name, value] : node.Members()) {
        const auto known =
            std::ranges::find(kDeviceProperties, std::string_view(name), &DevicePropertyName::name);
        if (known == std::end(kDeviceProperties)) value.Fail("unknown member");
        device.properties[known->code] = ReadRawValue(value);
    }
}

PnpDevice ReadDevice(const JsonNode& node) {
    node.AllowOnly({"comment", "enumerator", "instanceId", "present", "raw", "DeviceDesc", "HardwareID",
                    "CompatibleIDs", "LocationInformation", "LocationPaths", "BusNumber", "UINumber",
                    "Address"});
    PnpDevice device;
    if (const auto enumerator = node.Find("enumerator")) device.enumerator = enumerator->Text();
    if (const auto instanceId = node.Find("instanceId")) device.instanceId = instanceId->Text();
    if (const auto present = node.Find("present")) device.present = present->Truth();
    for (const DevicePropertyName& known : kDeviceProperties) {
        if (const auto property = node.Find(known.name)) ReadProperty(known, *property, device);
    }
    if (const auto raw = node.Find("raw")) ReadRawProperties(*raw, device);
    return device;
}

ComputerNames ReadNames(const JsonNode& node) {
    node.AllowOnly({"dnsFullyQualified", "dnsHostname", "netbios"});
    ComputerNames names;
    if (const auto name = node.Find("dnsFullyQualified")) names.dnsFullyQualified = name->Text();
    if (const auto name = node.Find("dnsHostname")) names.dnsHostname = name->Text();
    if (const auto name = node.Find("netbios")) names.netbios = name->Text();
    return names;
}

/// "3.2": the version that the firmware announces.
void ReadVersion(const JsonNode& node, SmbiosFirmware& firmware) {
    const std::wstring text = node.Text();
    const std::size_t dot = text.find(L'.');
    const auto isNumber = [](const std::wstring& part) {
        return !part.empty() && part.size() <= 2 &&
               part.find_first_not_of(L"0123456789") == std::wstring::npos;
    };
    const std::wstring major = text.substr(0, dot);
    const std::wstring minor = dot == std::wstring::npos ? std::wstring() : text.substr(dot + 1);
    if (!isNumber(major) || !isNumber(minor)) node.Fail("a version as in \"3.2\" is expected");
    firmware.majorVersion = static_cast<std::uint8_t>(std::stoi(major));
    firmware.minorVersion = static_cast<std::uint8_t>(std::stoi(minor));
}

SmbiosFirmware ReadSmbios(const JsonNode& node) {
    node.AllowOnly({"comment", "version", "hex", "base64"});
    SmbiosFirmware firmware;
    const auto version = node.Find("version");
    const auto hex = node.Find("hex");
    const auto base64 = node.Find("base64");
    if (!version || hex.has_value() == base64.has_value())
        node.Fail("version and either hex or base64 are expected");
    ReadVersion(*version, firmware);
    firmware.table = hex ? hex->HexBytes() : base64->Base64Bytes();
    return firmware;
}

SuiteObject ReadObject(const JsonNode& node) {
    node.AllowOnly({"comment", "namespace", "class", "properties"});
    const auto nameSpace = node.Find("namespace");
    const auto className = node.Find("class");
    const auto properties = node.Find("properties");
    if (!nameSpace || !className || !properties) node.Fail("namespace, class and properties are expected");
    if (!properties->Value().is_object()) properties->Fail("an object is expected");
    return {nameSpace->Text(), className->Text(), JsonText(properties->Value())};
}

/// A number is a REG_DWORD, a text a REG_SZ; the raw form is for what no administrator should have set.
RegistryValue ReadSetting(const JsonNode& node) {
    if (node.Value().is_object()) return ReadRawValue(node);
    return node.Value().is_string() ? RegistryValue::Text(node.Text()) : RegistryValue::Number(node.Number());
}

std::map<std::wstring, RegistryValue> ReadSettings(const JsonNode& node) {
    std::map<std::wstring, RegistryValue> settings;
    for (const auto& [name, value] : node.Members()) settings[WideFromUtf8(name)] = ReadSetting(value);
    return settings;
}

Machine ReadMachine(const JsonNode& root) {
    root.AllowOnly({"about", "comment", "computer", "devices", "smbios", "suite", "objects", "settings"});
    Machine machine;
    if (const auto about = root.Find("about")) machine.about = about->Text();
    if (const auto names = root.Find("computer")) machine.names = ReadNames(*names);
    if (const auto smbios = root.Find("smbios")) machine.smbios = ReadSmbios(*smbios);
    if (const auto devices = root.Find("devices")) {
        for (const JsonNode& device : devices->Elements()) machine.devices.push_back(ReadDevice(device));
    }
    if (const auto suite = root.Find("suite")) machine.suite = suite->Truth();
    if (const auto objects = root.Find("objects")) {
        for (const JsonNode& object : objects->Elements()) machine.objects.push_back(ReadObject(object));
    }
    if (const auto settings = root.Find("settings")) machine.settings = ReadSettings(*settings);
    return machine;
}

}  // namespace

RegistryValue RegistryValue::Text(const std::wstring& text) {
    RegistryValue made{REG_SZ, {}};
    AppendText(made.bytes, text);
    return made;
}

RegistryValue RegistryValue::Texts(const std::vector<std::wstring>& texts) {
    RegistryValue made{REG_MULTI_SZ, {}};
    for (const std::wstring& text : texts) AppendText(made.bytes, text);
    AppendText(made.bytes, {});
    return made;
}

RegistryValue RegistryValue::Number(DWORD number) {
    RegistryValue made{REG_DWORD, std::vector<BYTE>(sizeof number)};
    std::memcpy(made.bytes.data(), &number, sizeof number);
    return made;
}

void PnpDevice::SetText(DWORD property, const std::wstring& text) {
    properties[property] = RegistryValue::Text(text);
}

void PnpDevice::SetTexts(DWORD property, const std::vector<std::wstring>& texts) {
    properties[property] = RegistryValue::Texts(texts);
}

void PnpDevice::SetNumber(DWORD property, DWORD number) {
    properties[property] = RegistryValue::Number(number);
}

Machine ParseMachine(const std::string& json, const std::string& origin) {
    Json document;
    try {
        document = ParseJson(json);
    } catch (const Json::parse_error& error) {
        throw MachineError(origin + ": " + error.what());
    }
    return ReadMachine(JsonNode(document, origin));
}

Machine LoadMachine(const std::filesystem::path& file) {
    const std::string origin = Utf8FromWide(file.wstring());
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw MachineError(origin + ": cannot be opened");
    const std::string json((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    return ParseMachine(json, origin);
}

}  // namespace velkhost
