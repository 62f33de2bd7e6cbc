#include "host/model/repository.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "common/text.h"
#include "common/wbem_status.h"
#include "host/model/repository_loader.h"
#include "host/model/system_classes.h"
#include "host/mof/parser.h"
#include "host/path/object_path.h"

namespace velkhost {

namespace {

std::wstring Folded(std::wstring_view name) { return velk::ToUpper(velk::CString(name)); }

const Value* ValueOf(const ClassObject& object, std::wstring_view property) {
    const std::size_t index = object.Class().IndexOf(property);
    return index == ClassDef::kNone ? nullptr : &object.At(index);
}

std::wstring TextOf(const ClassObject& object, std::wstring_view property) {
    const Value* value = ValueOf(object, property);
    return value == nullptr ? std::wstring() : ToText(*value);
}

bool IsTrue(const ClassObject& object, std::wstring_view property) {
    const Value* value = ValueOf(object, property);
    const bool* truth = value == nullptr ? nullptr : value->As<bool>();
    return truth != nullptr && *truth;
}

/// Class and keys of a path text, whatever server and namespace it names.
std::wstring RelativePart(std::wstring_view path) {
    const auto parsed = ParseObjectPath(path);
    return parsed ? FormatRelativePath(*parsed) : std::wstring(path);
}

}  // namespace

std::wstring NormalizeNamespace(std::wstring_view written) {
    std::wstring text(written);
    std::replace(text.begin(), text.end(), L'/', L'\\');
    if (text.starts_with(L"\\\\")) {
        const std::size_t serverEnd = text.find(L'\\', 2);
        text.erase(0, serverEnd == text.npos ? text.size() : serverEnd + 1);
    }
    while (text.ends_with(L'\\')) text.pop_back();
    return text;
}

Repository::Repository(std::wstring server) : server_(std::move(server)) {
    for (const wchar_t* name : {L"root\\default", L"root\\cimv2", L"root\\wmi"}) AddNamespace(name);
}

Repository::Namespace* Repository::Find(std::wstring_view nameSpace) {
    const auto found = namespaces_.find(Folded(NormalizeNamespace(nameSpace)));
    return found == namespaces_.end() ? nullptr : &found->second;
}

const Repository::Namespace* Repository::Find(std::wstring_view nameSpace) const {
    return const_cast<Repository*>(this)->Find(nameSpace);
}

void Repository::AddNamespace(std::wstring_view nameSpace) {
    const std::wstring name = NormalizeNamespace(nameSpace);
    if (name.empty() || Find(name) != nullptr) return;
    const std::size_t lastPart = name.rfind(L'\\');
    if (lastPart != name.npos) AddNamespace(name.substr(0, lastPart));
    namespaces_[Folded(name)].name = name;
    mof::Document systemClasses = mof::Parse(kSystemClassesMof, "system classes");
    for (mof::Declaration& declaration : systemClasses.declarations) {
        std::get<mof::ClassDeclaration>(declaration).nameSpace = name;
    }
    Load(systemClasses);
    if (lastPart != name.npos) {
        AddInstance(name.substr(0, lastPart), L"__NAMESPACE",
                    {{L"Name", Value::Text(name.substr(lastPart + 1))}});
    }
}

ClassPtr Repository::AddClass(std::wstring_view nameSpace, ClassDef definition,
                              std::wstring_view superclass) {
    Namespace* owner = Find(nameSpace);
    if (owner == nullptr) throw std::invalid_argument("no such namespace");
    if (!superclass.empty()) {
        const ClassPtr base = FindClass(nameSpace, superclass);
        if (base == nullptr) throw std::invalid_argument("no such superclass");
        DeriveFrom(*base, definition);
    }
    for (PropertyDef& property : definition.properties) {
        if (property.origin.empty()) property.origin = definition.name;
    }
    definition.server = server_;
    definition.nameSpace = owner->name;
    auto stored = std::make_shared<const ClassDef>(std::move(definition));
    owner->classes[Folded(stored->name)] = stored;
    return stored;
}

velk::ComPtr<ClassObject> Repository::AddInstance(std::wstring_view nameSpace, std::wstring_view className,
                                                  const std::vector<NamedValue>& values) {
    const ClassPtr definition = FindClass(nameSpace, className);
    if (definition == nullptr) throw std::invalid_argument("no such class");
    auto instance = MakeInstance(definition);
    for (const NamedValue& named : values) {
        const std::size_t index = definition->IndexOf(named.name);
        if (index == ClassDef::kNone) throw std::invalid_argument("no such property");
        instance->Set(index, named.value);
    }
    StoreInstance(*Find(nameSpace), instance);
    return instance;
}

void Repository::StoreInstance(Namespace& nameSpace, velk::ComPtr<ClassObject> instance) {
    const std::optional<std::wstring> path = instance->RelativePath();
    for (velk::ComPtr<ClassObject>& stored : nameSpace.instances) {
        const std::optional<std::wstring> storedPath = stored->RelativePath();
        if (path && storedPath && SameName(*path, *storedPath)) {
            stored = std::move(instance);
            return;
        }
    }
    nameSpace.instances.push_back(std::move(instance));
}

bool Repository::RemoveClass(std::wstring_view nameSpace, std::wstring_view name) {
    Namespace* owner = Find(nameSpace);
    if (owner == nullptr || FindClass(nameSpace, name) == nullptr) return false;
    std::erase_if(owner->instances, [&](const auto& instance) { return instance->Class().IsA(name); });
    std::erase_if(owner->classes, [&](const auto& entry) { return entry.second->IsA(name); });
    return true;
}

bool Repository::RemoveInstance(std::wstring_view nameSpace, std::wstring_view path) {
    Namespace* owner = Find(nameSpace);
    if (owner == nullptr) return false;
    const std::wstring relative = RelativePart(path);
    return std::erase_if(owner->instances, [&](const auto& instance) {
               return SameName(instance->RelativePath().value_or(std::wstring()), relative);
           }) != 0;
}

bool Repository::HasNamespace(std::wstring_view nameSpace) const { return Find(nameSpace) != nullptr; }

ClassPtr Repository::FindClass(std::wstring_view nameSpace, std::wstring_view name) const {
    const Namespace* owner = Find(nameSpace);
    if (owner == nullptr) return nullptr;
    const auto found = owner->classes.find(Folded(name));
    return found == owner->classes.end() ? nullptr : found->second;
}

std::vector<std::wstring> Repository::ClassNames(std::wstring_view nameSpace, bool withSystemClasses) const {
    std::vector<std::wstring> names;
    const Namespace* owner = Find(nameSpace);
    if (owner == nullptr) return names;
    for (const auto& [folded, definition] : owner->classes) {
        if (withSystemClasses || !folded.starts_with(L"__")) names.push_back(definition->name);
    }
    return names;
}

std::vector<velk::ComPtr<ClassObject>> Repository::StaticInstances(std::wstring_view nameSpace,
                                                                   std::wstring_view className) const {
    std::vector<velk::ComPtr<ClassObject>> found;
    const Namespace* owner = Find(nameSpace);
    if (owner == nullptr) return found;
    for (const velk::ComPtr<ClassObject>& instance : owner->instances) {
        if (instance->Class().IsA(className)) found.push_back(instance);
    }
    return found;
}

std::optional<Repository::ProviderInfo> Repository::FindProvider(std::wstring_view nameSpace,
                                                                 std::wstring_view className,
                                                                 HRESULT& failure) const {
    failure = velk::kWbemNoError;
    const ClassPtr definition = FindClass(nameSpace, className);
    ProviderInfo info;
    if (definition != nullptr) info.name = definition->Provider();
    if (info.name.empty()) return std::nullopt;

    failure = static_cast<HRESULT>(WBEM_E_PROVIDER_NOT_FOUND);
    for (const velk::ComPtr<ClassObject>& provider : StaticInstances(nameSpace, L"__Win32Provider")) {
        if (!SameName(TextOf(*provider, L"Name"), info.name)) continue;
        failure = static_cast<HRESULT>(WBEM_E_INVALID_PROVIDER_REGISTRATION);
        const std::wstring clsid = TextOf(*provider, L"CLSID");
        if (FAILED(::CLSIDFromString(clsid.c_str(), &info.clsid))) return std::nullopt;
        const std::wstring path = provider->RelativePath().value_or(std::wstring());
        for (const auto& registration : StaticInstances(nameSpace, L"__InstanceProviderRegistration")) {
            if (!SameName(RelativePart(TextOf(*registration, L"provider")), path)) continue;
            info.supportsGet = IsTrue(*registration, L"SupportsGet");
            info.supportsEnumeration = IsTrue(*registration, L"SupportsEnumeration");
            failure = velk::kWbemNoError;
            return info;
        }
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<CLSID> Repository::ProviderClsid(std::wstring_view nameSpace,
                                               std::wstring_view className) const {
    HRESULT failure = velk::kWbemNoError;
    const auto provider = FindProvider(nameSpace, className, failure);
    return provider ? std::optional(provider->clsid) : std::nullopt;
}

void AddRawSmbiosTables(Repository& repository, const std::vector<std::uint8_t>& table, unsigned majorVersion,
                        unsigned minorVersion) {
    Value::List bytes;
    bytes.reserve(table.size());
    for (const std::uint8_t byte : table) bytes.push_back(Value::Unsigned(byte));
    repository.LoadMof(kRawSmbiosTablesMof, "SMBIOS tables");
    repository.AddInstance(L"root\\wmi", L"MSSmBios_RawSMBiosTables",
                           {{L"InstanceName", Value::Text(L"SMBiosData")},
                            {L"Active", Value::Bool(true)},
                            {L"Used20CallingMethod", Value::Bool(false)},
                            {L"SmbiosMajorVersion", Value::Unsigned(majorVersion)},
                            {L"SmbiosMinorVersion", Value::Unsigned(minorVersion)},
                            {L"DmiRevision", Value::Unsigned(0)},
                            {L"Size", Value::Unsigned(table.size())},
                            {L"SMBiosData", Value::Array(std::move(bytes))}});
}

void AddDataStoreStatus(Repository& repository, bool dataAvailable) {
    repository.LoadMof(kDataStoreStatusMof, "data-store status");
    repository.AddInstance(
        L"root\\wmi", L"DataStoreStatus",
        {{L"InstanceName", Value::Text(L"DataStore")}, {L"DataAvailable", Value::Bool(dataAvailable)}});
}

}  // namespace velkhost
