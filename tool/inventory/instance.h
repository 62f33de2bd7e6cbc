#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/model/class_def.h"
#include "host/model/value.h"

namespace velkpci {

// The program speaks of classes and values as WMI's part does; only the objects are plain data.
using velkhost::Cim;
using velkhost::CimType;
using velkhost::ClassDef;
using velkhost::ClassPtr;
using velkhost::PropertyDef;
using velkhost::SameName;
using velkhost::Value;
using velkhost::ValueName;

/// An instance, or a class with its initial values, as plain data: whatever source it came from.
struct Instance {
    ClassPtr definition;  ///< never null; the selected properties alone when a query selected some
    bool isClass = false;
    std::wstring path;          ///< with server and namespace; empty when it has none
    std::wstring relativePath;  ///< "Class.Key=..."; empty when it has none
    std::vector<Value> values;  ///< in the order of the definition's properties

    /// The value of a property, or null when the class lacks it.
    const Value* Find(std::wstring_view property) const {
        const std::size_t index = definition->IndexOf(property);
        return index == ClassDef::kNone ? nullptr : &values[index];
    }
};

using InstancePtr = std::shared_ptr<const Instance>;
using Instances = std::vector<InstancePtr>;

/// What reading one class (or answering one query) came to.
struct ClassData {
    std::wstring name;    ///< as WMI spells it; as it was asked for when WMI does not know it
    ClassPtr definition;  ///< null when WMI does not know the class
    HRESULT status = S_OK;
    Instances instances;  ///< on failure those that came before it
};

}  // namespace velkpci
