#include "host/machine/machine_repository.h"

#include <fstream>
#include <iterator>
#include <utility>

#include "host/machine/json_value.h"
#include "host/machine/machine_capture.h"
#include "host/utf8.h"

namespace velkhost {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw MachineError(Utf8FromWide(file.wstring()) + ": the file cannot be read");
    return {std::istreambuf_iterator<char>(stream), {}};
}

ComputerNames NamesOf(const Machine* machine) {
    if (machine != nullptr) return machine->names;
    return ReadComputerNames();
}

/// WMI's server name is the NetBIOS name.
std::wstring ServerName(const ComputerNames& names) {
    return names.netbios.value_or(names.dnsHostname.value_or(names.dnsFullyQualified.value_or(L".")));
}

/// The computer system itself, so that references to it lead somewhere. The suite names it by the longest
/// name.
void AddComputerSystem(Repository& repository, const ComputerNames& names) {
    constexpr const wchar_t* kNamespace = L"root\\VKQ";
    constexpr const wchar_t* kClass = L"Velk_WinComputerSystem";
    const ClassPtr definition = repository.FindClass(kNamespace, kClass);
    if (!definition || !repository.StaticInstances(kNamespace, kClass).empty()) return;
    const std::wstring name =
        names.dnsFullyQualified.value_or(names.dnsHostname.value_or(names.netbios.value_or(L"")));
    repository.AddInstance(kNamespace, kClass,
                           {{L"CreationClassName", Value::Text(kClass)}, {L"Name", Value::Text(name)}});
}

void DropInstances(Repository& repository, const SuiteObject& object) {
    for (const auto& instance : repository.StaticInstances(object.nameSpace, object.className)) {
        if (const auto path = instance->RelativePath()) repository.RemoveInstance(object.nameSpace, *path);
    }
}

void AddObject(Repository& repository, const SuiteObject& object) {
    const auto properties = ParseJson(object.properties);
    // The health driver's class exists only where the driver is installed: the machine file brings it along.
    if (SameName(object.className, L"DataStoreStatus")) {
        AddDataStoreStatus(repository, properties.value("DataAvailable", false));
        return;
    }
    const std::string name = Utf8FromWide(object.className);
    const ClassPtr definition = repository.FindClass(object.nameSpace, object.className);
    if (!definition)
        throw MachineError(name + ": the machine file has objects of this class, no MOF file defines it");
    std::vector<NamedValue> values;
    for (const auto& [key, json] : properties.items()) {
        const PropertyDef* property = definition->Find(WideFromUtf8(key));
        if (property == nullptr) throw MachineError(name + "." + key + ": the class has no such property");
        const auto value = ValueFromJson(property->type, json);
        if (!value) throw MachineError(name + "." + key + ": the machine file gives a value of another type");
        values.push_back({property->name, *value});
    }
    repository.AddInstance(object.nameSpace, object.className, values);
}

}  // namespace

Repository BuildRepository(const std::vector<fs::path>& mofFiles, const Machine* machine) {
    const ComputerNames names = NamesOf(machine);
    Repository repository(ServerName(names));
    for (const fs::path& file : mofFiles) repository.LoadMof(ReadFile(file), Utf8FromWide(file.wstring()));
    if (machine != nullptr) {
        for (const SuiteObject& object : machine->objects) DropInstances(repository, object);
        for (const SuiteObject& object : machine->objects) AddObject(repository, object);
    }
    AddComputerSystem(repository, names);
    const auto firmware = machine != nullptr ? machine->smbios : ReadFirmwareTable();
    if (firmware) {
        AddRawSmbiosTables(repository, firmware->table, firmware->majorVersion, firmware->minorVersion);
    }
    return repository;
}

}  // namespace velkhost
