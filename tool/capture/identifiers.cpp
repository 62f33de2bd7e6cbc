#include "tool/capture/identifiers.h"

#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <string>

#include "common/text.h"
#include "host/model/class_def.h"
#include "host/utf8.h"
#include "smbios/structure_table.h"
#include "tool/basics/json.h"

namespace velkpci {
namespace {

using velkhost::ComputerNames;
using velkhost::Machine;

/// What of a structure type identifies. Offsets are from the structure's start; fields that a structure is
/// too short for are not there.
struct StructureRule {
    std::uint8_t firstType;
    std::uint8_t lastType;
    std::array<std::size_t, 2> strings;  ///< offsets of bytes that number a string; 0: none
    bool allStrings;
    std::size_t uuid;                ///< offset of 16 bytes; 0: none
    std::size_t zeroBegin, zeroEnd;  ///< bytes to clear, as far as the formatted area goes
};

constexpr std::size_t kHeader = 4;
constexpr std::size_t kToTheEnd = 256;  // a formatted area has at most 255 bytes
constexpr std::size_t kUuidBytes = 16;

constexpr StructureRule kRules[] = {
    {1, 1, {0x07}, false, 0x08, 0, 0},            // System: serial number, UUID
    {2, 2, {0x07, 0x08}, false, 0, 0, 0},         // Baseboard: serial number, asset tag
    {3, 3, {0x07, 0x08}, false, 0, 0, 0},         // Chassis: the same
    {4, 4, {0x20, 0x21}, false, 0, 0, 0},         // Processor: the same
    {11, 11, {}, true, 0, 0, 0},                  // OEM Strings: anything, service tags among it
    {17, 17, {0x18, 0x19}, false, 0, 0, 0},       // Memory Device: serial number, asset tag
    {22, 22, {0x07}, false, 0, 0x10, 0x12},       // Portable Battery: both forms of its serial number
    {39, 39, {0x08, 0x09}, false, 0, 0, 0},       // Power Supply: serial number, asset tag
    {42, 42, {}, true, 0, 6, kToTheEnd},          // Host Interface: service UUID, addresses, names
    {46, 46, {0x06}, false, 0, 0, 0},             // String Property: device paths with MAC addresses
    {126, 126, {}, true, 0, kHeader, kToTheEnd},  // Inactive: what it was is not known
    {128, 255, {}, true, 0, kHeader, kToTheEnd},  // the makers' own
};

/// Numbers values in the order of their first appearance, so that equal ones stay equal and different ones
/// different without anything of them being left.
class Numbers {
  public:
    std::size_t Of(const std::string& value) {
        return numbers_.try_emplace(value, numbers_.size() + 1).first->second;
    }

  private:
    std::map<std::string, std::size_t> numbers_;
};

bool IsReplaced(std::uint8_t c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c >= 0x80;
}

/// Letters and digits become "0", and the last ones of them the value's number; what stands between them
/// stays.
void ReplaceText(std::span<std::uint8_t> text, Numbers& numbers) {
    if (std::ranges::none_of(text, IsReplaced)) return;
    std::size_t number = numbers.Of(std::string(text.begin(), text.end()));
    for (std::size_t i = text.size(); i-- > 0;) {
        if (!IsReplaced(text[i])) continue;
        text[i] = static_cast<std::uint8_t>('0' + number % 10);
        number /= 10;
    }
}

/// All zeros and all ones say that there is none. Else zeros, with the value's number in the last four bytes.
void ReplaceUuid(std::span<std::uint8_t> uuid, Numbers& numbers) {
    const auto isAll = [&](std::uint8_t byte) { return std::ranges::count(uuid, byte) == kUuidBytes; };
    if (isAll(0) || isAll(0xFF)) return;
    std::size_t number = numbers.Of(std::string(uuid.begin(), uuid.end()));
    std::ranges::fill(uuid, std::uint8_t{0});
    for (std::size_t i = 1; i <= 4; ++i, number >>= 8)
        uuid[kUuidBytes - i] = static_cast<std::uint8_t>(number & 0xFF);
}

/// One structure with what its rule says; `offset` is the structure's place in the table.
class StructureWriter {
  public:
    StructureWriter(std::span<std::uint8_t> table, std::size_t offset, const velk::SmbiosStructure& structure)
        : formatted_(table.subspan(offset, structure.formatted.size())),
          stringSet_(table.subspan(offset + structure.formatted.size(), structure.stringSet.size())) {
        std::size_t begin = 0;
        for (const std::string_view text : velk::StringsOf(structure)) {
            strings_.push_back(stringSet_.subspan(begin, text.size()));
            begin += text.size() + 1;
        }
    }

    void Apply(const StructureRule& rule, Numbers& numbers) {
        // Each string once, in the order in which they stand, whoever names it.
        // With a length of 0 the first one is the structure's type, which leads the walk.
        for (std::size_t i = formatted_.empty() ? 1 : 0; i < strings_.size(); ++i) {
            if (rule.allStrings || IsNamedBy(rule, i + 1)) ReplaceText(strings_[i], numbers);
        }
        if (rule.uuid != 0 && rule.uuid + kUuidBytes <= formatted_.size())
            ReplaceUuid(formatted_.subspan(rule.uuid, kUuidBytes), numbers);
        for (std::size_t i = rule.zeroBegin; i < std::min(rule.zeroEnd, formatted_.size()); ++i)
            formatted_[i] = 0;
    }

  private:
    bool IsNamedBy(const StructureRule& rule, std::size_t string) const {
        return std::ranges::any_of(rule.strings, [&](std::size_t offset) {
            return offset != 0 && offset < formatted_.size() && formatted_[offset] == string;
        });
    }

    std::span<std::uint8_t> formatted_;
    std::span<std::uint8_t> stringSet_;
    std::vector<std::span<std::uint8_t>> strings_;
};

void ReplaceInTable(std::vector<std::uint8_t>& table, Numbers& numbers) {
    // Walked as the provider walks it, on a copy: what is cleared must not lead the walk astray.
    const std::vector<std::uint8_t> original = table;
    velk::StructureWalk walk(original);
    while (const auto structure = walk.Next()) {
        const auto offset = static_cast<std::size_t>(structure->formatted.data() - original.data());
        const auto rule = std::ranges::find_if(kRules, [&](const StructureRule& each) {
            return each.firstType <= structure->type && structure->type <= each.lastType;
        });
        if (rule != std::end(kRules)) StructureWriter(table, offset, *structure).Apply(*rule, numbers);
    }
}

/// The last part of an instance ID, unless the Plug and Play manager made it up: then an ampersand is its
/// second character.
void ReplaceInInstanceId(std::wstring& id, Numbers& numbers) {
    const std::size_t slash = id.rfind(L'\\');
    if (slash == std::wstring::npos) return;
    std::string last = velkhost::Utf8FromWide(std::wstring_view(id).substr(slash + 1));
    if (last.size() > 1 && last[1] == '&') return;
    ReplaceText({reinterpret_cast<std::uint8_t*>(last.data()), last.size()}, numbers);
    id.replace(slash + 1, std::wstring::npos, velkhost::WideFromUtf8(last));
}

ComputerNames StandInNames(const ComputerNames& names) {
    ComputerNames made;
    if (names.dnsFullyQualified) {
        const bool hasDomain = names.dnsFullyQualified->find(L'.') != std::wstring::npos;
        made.dnsFullyQualified = hasDomain ? L"machine.example.com" : L"machine";
    }
    if (names.dnsHostname) made.dnsHostname = L"machine";
    if (names.netbios) made.netbios = L"MACHINE";
    return made;
}

/// The suite's objects, of which the computer's names are keys, and of the chassis a tag that may be one of
/// an inventory.
void ReplaceInObject(velkhost::SuiteObject& object, const ComputerNames& names, const ComputerNames& made,
                     Numbers& numbers) {
    const std::pair<const std::optional<std::wstring>*, const std::optional<std::wstring>*> pairs[] = {
        {&names.dnsFullyQualified, &made.dnsFullyQualified},
        {&names.dnsHostname, &made.dnsHostname},
        {&names.netbios, &made.netbios}};
    Json properties = ParseJson(object.properties);
    for (auto& [name, value] : properties.items()) {
        if (!value.is_string()) continue;
        std::string text = value.get<std::string>();
        const std::wstring wide = velkhost::WideFromUtf8(text);
        const auto same = std::ranges::find_if(pairs, [&](const auto& each) {
            return each.first->has_value() && velk::EqualsIgnoringCase((*each.first)->c_str(), wide.c_str());
        });
        if (same != std::end(pairs)) {
            value = velkhost::Utf8FromWide(**same->second);
        } else if (name == "Tag" && text != "Computer System Chassis") {
            ReplaceText({reinterpret_cast<std::uint8_t*>(text.data()), text.size()}, numbers);
            value = text;
        }
    }
    object.properties = JsonText(properties);
}

}  // namespace

void ReplaceIdentifiers(Machine& machine) {
    Numbers numbers;
    for (velkhost::PnpDevice& device : machine.devices) ReplaceInInstanceId(device.instanceId, numbers);
    if (machine.smbios) ReplaceInTable(machine.smbios->table, numbers);
    const ComputerNames made = StandInNames(machine.names);
    for (velkhost::SuiteObject& object : machine.objects)
        ReplaceInObject(object, machine.names, made, numbers);
    machine.names = made;
}

}  // namespace velkpci
