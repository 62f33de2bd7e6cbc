#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/com_ptr.h"
#include "host/model/class_def.h"
#include "host/model/class_object.h"
#include "host/mof/document.h"

namespace velkhost {

/// "root\VKQ" from any way of writing a namespace: "\\server\root\VKQ", "//./root/vkq". Case is kept.
std::wstring NormalizeNamespace(std::wstring_view written);

/// The name of a MOF assignment or JSON member with its value, for instances made from outside.
struct NamedValue {
    std::wstring name;
    Value value;
};

/// Namespaces with their classes and static instances: what WMI keeps on disk. To be filled first and read
/// afterwards; reading from several threads at once is safe, filling meanwhile is not.
///
/// Every namespace has the system classes __SystemClass, __NAMESPACE, __Provider, __Win32Provider,
/// __ProviderRegistration, __ObjectProviderRegistration, __InstanceProviderRegistration, __NotifyStatus and
/// __ExtendedStatus; root, root\default, root\cimv2 and root\wmi are there from the beginning.
class Repository {
  public:
    /// The server name is what __SERVER and full paths carry.
    explicit Repository(std::wstring server);

    const std::wstring& Server() const { return server_; }

    /// Puts the classes and instances of a document into their namespaces, replacing those of the same name
    /// or path, and carries out deletions. A namespace must be there: it is created by an instance of
    /// __NAMESPACE in its parent. Throws MofError at the first declaration that does not fit (unknown
    /// namespace, class, property or alias, a value of the wrong type, missing keys...).
    void Load(const mof::Document& document);
    /// Parses and loads a MOF text.
    void LoadMof(std::string_view text, const std::string& file);

    /// Creates the namespace and those above it where missing.
    void AddNamespace(std::wstring_view nameSpace);
    /// Adds a class made in memory (server, nameSpace and derivation are filled in; a superclass must be in
    /// the namespace). Replaces one of the same name. Throws std::invalid_argument.
    ClassPtr AddClass(std::wstring_view nameSpace, ClassDef definition, std::wstring_view superclass = {});
    /// Adds a static instance with the given values, the rest initial. Throws std::invalid_argument when
    /// class or property is unknown.
    velk::ComPtr<ClassObject> AddInstance(std::wstring_view nameSpace, std::wstring_view className,
                                          const std::vector<NamedValue>& values);

    /// Removes the class with everything that derives from it and all their instances. False when it is not
    /// there.
    bool RemoveClass(std::wstring_view nameSpace, std::wstring_view name);
    /// Removes the static instance of that path. False when it is not there.
    bool RemoveInstance(std::wstring_view nameSpace, std::wstring_view path);

    bool HasNamespace(std::wstring_view nameSpace) const;
    /// The class of that name, in any case, or null.
    ClassPtr FindClass(std::wstring_view nameSpace, std::wstring_view name) const;
    /// Names of the namespace's classes in alphabetical order; the system classes ("__...") only on request.
    std::vector<std::wstring> ClassNames(std::wstring_view nameSpace, bool withSystemClasses = false) const;
    /// Instances kept here, of the class and of classes derived from it, in the order of their arrival.
    std::vector<velk::ComPtr<ClassObject>> StaticInstances(std::wstring_view nameSpace,
                                                           std::wstring_view className) const;
    /// The provider that serves the class, as WMI finds it: Provider qualifier, __Win32Provider of that name,
    /// its CLSID, provided that an __InstanceProviderRegistration refers to it.
    struct ProviderInfo {
        std::wstring name;
        CLSID clsid{};
        bool supportsGet = false;
        bool supportsEnumeration = false;
    };
    /// Nothing for a class without Provider qualifier (its instances are static ones). For a class that names
    /// a provider which is not (rightly) registered, the status WMI gives is in `failure`
    /// (WBEM_E_PROVIDER_NOT_FOUND, WBEM_E_INVALID_PROVIDER_REGISTRATION), and nothing is returned.
    std::optional<ProviderInfo> FindProvider(std::wstring_view nameSpace, std::wstring_view className,
                                             HRESULT& failure) const;
    /// The CLSID alone, or nothing.
    std::optional<CLSID> ProviderClsid(std::wstring_view nameSpace, std::wstring_view className) const;

  private:
    struct Namespace {
        std::wstring name;
        std::map<std::wstring, ClassPtr> classes;  ///< by upper-case name
        std::vector<velk::ComPtr<ClassObject>> instances;
    };

    Namespace* Find(std::wstring_view nameSpace);
    const Namespace* Find(std::wstring_view nameSpace) const;
    static void StoreInstance(Namespace& nameSpace, velk::ComPtr<ClassObject> instance);

    std::wstring server_;
    std::map<std::wstring, Namespace> namespaces_;  ///< by upper-case name
};

/// root\wmi's MSSmBios_RawSMBiosTables with its one instance, as the firmware table's WMI form: SMBiosData,
/// Size and the version. Throws std::bad_alloc.
void AddRawSmbiosTables(Repository& repository, const std::vector<std::uint8_t>& table, unsigned majorVersion,
                        unsigned minorVersion);

/// root\wmi's DataStoreStatus with one instance: whether the health driver's data store holds data.
void AddDataStoreStatus(Repository& repository, bool dataAvailable);

}  // namespace velkhost
