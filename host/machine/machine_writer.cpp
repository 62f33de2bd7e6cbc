#include "host/machine/machine_writer.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "host/machine/machine_format.h"
#include "host/utf8.h"

namespace velkhost {
namespace {

constexpr std::size_t kBytesInALine = 32;

std::string Hex(std::span<const std::uint8_t> bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) text += ' ';
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

/// A table in lines that people can read and compare.
Json HexLines(std::span<const std::uint8_t> bytes) {
    Json lines = Json::array();
    for (; bytes.size() > kBytesInALine; bytes = bytes.subspan(kBytesInALine))
        lines.push_back(Hex(bytes.first(kBytesInALine)));
    if (!bytes.empty()) lines.push_back(Hex(bytes));
    return lines;
}

Json RawToJson(const RegistryValue& value) {
    const auto known = std::ranges::find_if(
        kRegistryTypes, [&](const RegistryTypeName& each) { return each.type == value.type; });
    const bool isKnown = known != std::end(kRegistryTypes);
    return {{"type", isKnown ? Json(known->name) : Json(value.type)}, {"hex", Hex(value.bytes)}};
}

/// The bytes as characters, up to an odd last byte.
std::wstring Characters(const RegistryValue& value) {
    std::wstring text(value.bytes.size() / sizeof(wchar_t), L'\0');
    if (!text.empty()) std::memcpy(text.data(), value.bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

/// Each text up to its zero.
std::vector<std::string> SplitAtZeros(std::wstring_view text) {
    std::vector<std::string> parts;
    for (std::size_t zero; (zero = text.find(L'\0')) != std::wstring_view::npos; text.remove_prefix(zero + 1))
        parts.push_back(Utf8FromWide(text.substr(0, zero)));
    return parts;
}

std::vector<std::wstring> Widen(const std::vector<std::string>& texts) {
    std::vector<std::wstring> wide;
    for (const std::string& text : texts) wide.push_back(WideFromUtf8(text));
    return wide;
}

/// The value in the plain form, or null when that would read as another value.
Json PlainOrNull(const RegistryValue& value, PropertyForm form) {
    if (form == PropertyForm::kNumber) {
        DWORD number = 0;
        if (value.bytes.size() != sizeof number) return nullptr;
        std::memcpy(&number, value.bytes.data(), sizeof number);
        return RegistryValue::Number(number) == value ? Json(number) : Json();
    }
    std::vector<std::string> texts = SplitAtZeros(Characters(value));
    if (texts.empty()) return nullptr;
    if (form == PropertyForm::kText)
        return RegistryValue::Text(WideFromUtf8(texts[0])) == value ? Json(texts[0]) : Json();
    texts.pop_back();
    return RegistryValue::Texts(Widen(texts)) == value ? Json(texts) : Json();
}

Json DeviceToJson(const PnpDevice& device) {
    Json json = Json::object();
    if (device.enumerator != L"PCI") json["enumerator"] = Utf8FromWide(device.enumerator);
    json["instanceId"] = Utf8FromWide(device.instanceId);
    if (!device.present) json["present"] = false;
    Json raw = Json::object();
    for (const DevicePropertyName& known : kDeviceProperties) {
        const auto found = device.properties.find(known.code);
        if (found == device.properties.end()) continue;
        Json plain = PlainOrNull(found->second, known.form);
        if (plain.is_null()) {
            raw[known.name] = RawToJson(found->second);
        } else {
            json[known.name] = std::move(plain);
        }
    }
    if (!raw.empty()) json["raw"] = std::move(raw);
    return json;
}

Json SettingToJson(const RegistryValue& value) {
    for (const PropertyForm form : {PropertyForm::kNumber, PropertyForm::kText}) {
        Json plain = PlainOrNull(value, form);
        if (!plain.is_null()) return plain;
    }
    return RawToJson(value);
}

Json NamesToJson(const ComputerNames& names) {
    Json json = Json::object();
    const auto add = [&](const char* member, const std::optional<std::wstring>& name) {
        if (name) json[member] = Utf8FromWide(*name);
    };
    add("dnsFullyQualified", names.dnsFullyQualified);
    add("dnsHostname", names.dnsHostname);
    add("netbios", names.netbios);
    return json;
}

}  // namespace

Json MachineToJson(const Machine& machine) {
    Json json = {{"about", Utf8FromWide(machine.about)}, {"computer", NamesToJson(machine.names)}};
    if (machine.settings) {
        Json settings = Json::object();
        for (const auto& [name, value] : *machine.settings)
            settings[Utf8FromWide(name)] = SettingToJson(value);
        json["settings"] = std::move(settings);
    }
    json["devices"] = Json::array();
    for (const PnpDevice& device : machine.devices) json["devices"].push_back(DeviceToJson(device));
    if (machine.smbios) {
        const SmbiosFirmware& firmware = *machine.smbios;
        json["smbios"] = {
            {"version", std::to_string(firmware.majorVersion) + "." + std::to_string(firmware.minorVersion)},
            {"hex", HexLines(firmware.table)}};
    }
    if (machine.suite) json["suite"] = true;
    if (!machine.objects.empty()) json["objects"] = Json::array();
    for (const SuiteObject& object : machine.objects) {
        json["objects"].push_back({{"namespace", Utf8FromWide(object.nameSpace)},
                                   {"class", Utf8FromWide(object.className)},
                                   {"properties", ParseJson(object.properties)}});
    }
    return json;
}

std::string FormatMachine(const Machine& machine) { return JsonText(MachineToJson(machine), 2) + "\n"; }

}  // namespace velkhost
