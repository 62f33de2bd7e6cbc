#include <filesystem>

#include "common/suite_names.h"
#include "host/machine/machine.h"
#include "host/services/apartment.h"
#include "host/utf8.h"
#include "smbios/slot_type_setting.h"
#include "smbios/smbios_table.h"
#include "tool/check/gather.h"
#include "tool/inventory/system_slot_bytes.h"

namespace velkpci {
namespace {

bool HasModernTypes(const velkhost::Machine& machine) {
    if (!machine.settings) return velk::ReadExpressTypes() == velk::ExpressTypes::kModern;
    const auto found = machine.settings->find(velk::kModernSlotTypes);
    // As the provider reads it: a number of four bytes, or none.
    return found != machine.settings->end() && found->second.type == REG_DWORD &&
           found->second.bytes.size() == sizeof(DWORD) && velk::ReadUInt32(found->second.bytes, 0) != 0;
}

Firmware OfMachine(const velkhost::Machine& machine) {
    Firmware firmware{machine.smbios.has_value(), "the machine file", HasModernTypes(machine), {}};
    if (!machine.smbios) return firmware;
    velk::StructureWalk walk(machine.smbios->table);
    while (const auto structure = walk.Next()) {
        if (structure->type != velk::kSystemSlotStructure) continue;
        firmware.slots.push_back({velk::ReadUInt8(structure->formatted, velk::kSlotTypeOffset),
                                  velk::ReadUInt16(structure->formatted, velk::kSlotIdOffset),
                                  DesignationOf(*structure)});
    }
    return firmware;
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
    // A table of 64 KiB has fewer structures than there are numbers.
    for (std::uint16_t i = 0;; ++i) {
        std::uint8_t bytes[velk::kSystemSlotBytes]{};
        std::uint8_t length = sizeof bytes;
        std::vector<velk::CString> strings;
        if (!table.FindStructure(velk::kSystemSlotStructure, i, bytes, length, strings)) break;
        const std::span<const std::uint8_t> formatted(bytes, length);
        const std::size_t number = velk::ReadUInt8(formatted, kDesignationOffset);
        // Element 0 is empty: no string.
        const velk::CString designation = number < strings.size() ? strings[number] : velk::CString();
        firmware.slots.push_back({velk::ReadUInt8(formatted, velk::kSlotTypeOffset),
                                  velk::ReadUInt16(formatted, velk::kSlotIdOffset),
                                  velkhost::Utf8FromWide(designation)});
    }
    return firmware;
}

}  // namespace

Firmware GatherFirmware(const SourceOptions& options) {
    if (!options.machine) return OfThisComputer();
    return OfMachine(velkhost::LoadMachine(std::filesystem::path(velkhost::WideFromUtf8(*options.machine))));
}

}  // namespace velkpci
