#include <array>
#include <cstdio>
#include <string_view>

#include "host/machine/machine_writer.h"
#include "host/utf8.h"
#include "smbios/little_endian.h"
#include "smbios/structure_table.h"
#include "smbios/system_slot.h"
#include "tool/compare/snapshot.h"
#include "tool/inventory/system_slot_bytes.h"
#include "tool/view/json_view.h"

namespace velkpci {
namespace {

template <class... Arguments>
std::string Print(const char* format, Arguments... arguments) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

/// "BUS(59)DEV(0)FN(0)", as the provider calls it; else what else says where it is.
std::string FunctionId(const Json& device) {
    if (device.contains("BusNumber") && device.contains("Address")) {
        const unsigned address = device["Address"].get<unsigned>();
        return Print("BUS(%u)DEV(%u)FN(%u)", device["BusNumber"].get<unsigned>(), address >> 16,
                     address & 0xFFFF);
    }
    return device.value("LocationInformation", device.value("instanceId", std::string("?")));
}

/// "0000:17:02.0"; null for a slot that is told no address.
Json SlotAddress(std::span<const std::uint8_t> formatted) {
    const unsigned segment = velk::ReadUInt16(formatted, kSegmentOffset),
                   bus = velk::ReadUInt8(formatted, kBusOffset),
                   devfn = velk::ReadUInt8(formatted, kDeviceFunctionOffset);
    const bool isUnknown = segment == 0xFFFF && bus == 0xFF && devfn == 0xFF;
    if (formatted.size() <= kDeviceFunctionOffset || isUnknown) return nullptr;
    return Print("%04x:%02x:%02x.%u", segment, bus, devfn >> 3, devfn & 7);
}

/// "available" and "in use" are what an operator asks for; the other codes stay numbers.
Json SlotUsage(unsigned code) {
    constexpr unsigned kAvailable = 3, kInUse = 4;
    if (code == kAvailable) return "available";
    return code == kInUse ? Json("in use") : Json(code);
}

Item SlotItem(const velk::SmbiosStructure& structure) {
    const auto byte = [&](std::size_t offset) -> unsigned {
        return velk::ReadUInt8(structure.formatted, offset);
    };
    const unsigned id = velk::ReadUInt16(structure.formatted, velk::kSlotIdOffset);
    const unsigned characteristics = velk::ReadUInt16(structure.formatted, kCharacteristicsOffset);
    const velk::SystemSlot slot = velk::DecodeSystemSlot(structure.formatted, velk::ExpressTypes::kModern);
    return {"slot",
            "PCI Slot " + std::to_string(id),
            {{"designation", TextOrNull(DesignationOf(structure))},
             {"type", Print("0x%02X", byte(velk::kSlotTypeOffset))},
             {"width", Print("0x%02X", byte(velk::kDataBusWidthOffset))},
             {"usage", SlotUsage(byte(kUsageOffset))},
             {"length", byte(kLengthOffset)},
             {"hotPlug", slot.supportsHotPlug},
             {"characteristics", Print("0x%04X", characteristics)},
             {"address", SlotAddress(structure.formatted)}}};
}

void AddSlots(const velkhost::SmbiosFirmware& firmware, std::vector<Item>& items) {
    velk::StructureWalk walk(firmware.table);
    while (const auto structure = walk.Next()) {
        if (structure->type == velk::kSystemSlotStructure) items.push_back(SlotItem(*structure));
    }
}

}  // namespace

std::vector<Item> ItemsOfMachine(const velkhost::Machine& machine) {
    const Json json = velkhost::MachineToJson(machine);
    Item computer{"computer", "computer", json["computer"]};
    if (json.contains("settings")) {
        for (const auto& [name, value] : json["settings"].items())
            computer.properties["settings." + name] = value;
    }
    for (const char* member : {"suite", "objects"}) {
        if (json.contains(member)) computer.properties[member] = json[member];
    }
    if (machine.smbios) computer.properties["smbiosVersion"] = json["smbios"]["version"];
    std::vector<Item> items = {std::move(computer)};
    if (machine.smbios) AddSlots(*machine.smbios, items);
    for (const Json& device : json["devices"]) {
        Item item{"function", FunctionId(device), device};
        item.properties.erase("instanceId");
        items.push_back(std::move(item));
    }
    return items;
}

}  // namespace velkpci
