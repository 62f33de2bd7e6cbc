#include <filesystem>

#include "common/handle.h"
#include "host/machine/machine.h"
#include "host/services/apartment.h"
#include "host/utf8.h"
#include "smbios/little_endian.h"
#include "smbios/slot_type_setting.h"
#include "smbios/smbios_table.h"
#include "smbios/structure_table.h"
#include "tool/check/gather.h"

namespace velkpci {
namespace {

// Byte offsets in a System Slots structure (SMBIOS 7.10).
constexpr std::size_t kDesignation = 4;  ///< number of a string
constexpr std::size_t kSlotType = 5;
constexpr std::size_t kSlotId = 9;

DescribedSlot MakeSlot(std::span<const std::uint8_t> formatted, std::string designation) {
    return {velk::ReadUInt8(formatted, kSlotType), velk::ReadUInt16(formatted, kSlotId),
            std::move(designation)};
}

bool HasModernTypes(const velkhost::Machine& machine) {
    if (!machine.settings) return velk::ReadExpressTypes() == velk::ExpressTypes::kModern;
    const auto found = machine.settings->find(L"ModernSlotTypes");
    if (found == machine.settings->end() || found->second.type != REG_DWORD) return false;
    return velk::ReadUInt32(found->second.bytes, 0) != 0;
}

Firmware OfMachine(const velkhost::Machine& machine) {
    Firmware firmware{machine.smbios.has_value(), "the machine file", HasModernTypes(machine), {}};
    if (!machine.smbios) return firmware;
    for (std::size_t i = 0;; ++i) {
        const auto structure =
            velk::FindStructureOfType(machine.smbios->table, velk::kSystemSlotStructure, i);
        if (!structure) return firmware;
        const auto strings = velk::StringsOf(*structure);
        const std::size_t number = velk::ReadUInt8(structure->formatted, kDesignation);
        const bool isNamed = number != 0 && number <= strings.size();
        firmware.slots.push_back(
            MakeSlot(structure->formatted, isNamed ? std::string(strings[number - 1]) : std::string()));
    }
}

/// Read by the provider's own code, in the account of whoever runs the check.
Firmware OfThisComputer() {
    const velkhost::ComApartment apartment;
    velk::SmbiosTable table;
    Firmware firmware;
    firmware.hasModernTypes = velk::ReadExpressTypes() == velk::ExpressTypes::kModern;
    firmware.isReadable = table.Load();
    std::uint8_t probe = 0;
    firmware.way = velk::SmbiosTable::ReadPhysical(0xF0000, 1, &probe) ? "the health driver" : "WMI";
    for (std::uint8_t i = 0; i < 255; ++i) {
        std::uint8_t bytes[velk::kSystemSlotBytes]{};
        std::uint8_t length = sizeof bytes;
        std::vector<velk::CString> strings;
        if (!table.FindStructure(velk::kSystemSlotStructure, i, bytes, length, strings)) break;
        const std::span<const std::uint8_t> formatted(bytes, length);
        const std::size_t number = velk::ReadUInt8(formatted, kDesignation);
        const bool isNamed = number != 0 && number < strings.size();
        firmware.slots.push_back(MakeSlot(
            formatted, isNamed ? velkhost::Utf8FromWide(std::wstring(strings[number])) : std::string()));
    }
    return firmware;
}

}  // namespace

Firmware GatherFirmware(const SourceOptions& options) {
    if (!options.machine) return OfThisComputer();
    return OfMachine(velkhost::LoadMachine(std::filesystem::path(velkhost::WideFromUtf8(*options.machine))));
}

}  // namespace velkpci
