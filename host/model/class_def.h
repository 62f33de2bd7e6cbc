#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/model/value.h"
#include "host/mof/cim_type.h"

namespace velkhost {

/// Compares names of classes, properties, qualifiers and namespaces: without regard to case.
bool SameName(std::wstring_view left, std::wstring_view right);

struct QualifierDef {
    std::wstring name;
    CimType type;
    Value value;
    LONG flavor = 0;  ///< WBEM_FLAVOR_*; ORIGIN_PROPAGATED when it comes from a superclass
};

using QualifierList = std::vector<QualifierDef>;

/// The qualifier of that name, or null.
const QualifierDef* FindQualifier(const QualifierList& qualifiers, std::wstring_view name);

struct PropertyDef {
    std::wstring name;
    CimType type;
    Value initial;
    QualifierList qualifiers;  ///< WMI's own CIMTYPE qualifier among them
    std::wstring origin;       ///< the class that declared it
    bool isKey = false;
};

/// A class: its own and its inherited properties, in order of declaration from the top class down. Shared and
/// never changed once it stands in the repository.
struct ClassDef {
    std::wstring server;     ///< "" only for a class that no repository holds
    std::wstring nameSpace;  ///< "root\VKQ", without server
    std::wstring name;
    std::vector<std::wstring> derivation;  ///< superclasses, the immediate one first
    QualifierList qualifiers;
    std::vector<PropertyDef> properties;
    /// Only some properties were selected: without all keys an instance of it has no path.
    bool isProjection = false;
    bool lacksKeys = false;

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    /// The index of a property in `properties`, or kNone.
    std::size_t IndexOf(std::wstring_view property) const;
    const PropertyDef* Find(std::wstring_view property) const;
    /// Whether this class is the named one or derives from it.
    bool IsA(std::wstring_view className) const;
    /// The name of the provider that serves its instances: its qualifier Provider. Empty without one.
    std::wstring Provider() const;
};

using ClassPtr = std::shared_ptr<const ClassDef>;

/// The class with only the selected properties, in the class's own order; names that it lacks are ignored.
/// Instances made of it answer WBEM_E_NOT_FOUND for the others and, when a key is not selected, NULL for
/// __PATH, __RELPATH, __NAMESPACE and __SERVER, as WMI's answers to "SELECT a, b FROM" do.
ClassPtr ProjectClass(const ClassPtr& wholeClass, const std::vector<std::wstring>& properties);

/// The name that the property's ValueMap and Values qualifiers give a value; a range such as "26..32567"
/// counts. Arrays have the names of their elements, joined with ", " ("?" for one without). Nothing when the
/// property has no such qualifiers or the value no name at all.
std::optional<std::wstring> ValueName(const PropertyDef& property, const Value& value);

}  // namespace velkhost
