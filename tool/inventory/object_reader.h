#pragma once

#include <map>
#include <string>

#include "tool/inventory/instance.h"

namespace velkpci {

/// Turns the objects that WMI hands out into plain data, through their interface alone. Each class's
/// definition is asked for once: an instance does not tell its value maps.
class ObjectReader {
  public:
    explicit ObjectReader(IWbemServices& services) : services_(services) {}

    /// A class of the namespace by its name, in any case.
    HRESULT Definition(const std::wstring& className, ClassPtr& out);
    /// An instance or a class. WBEM_E_TYPE_MISMATCH when a value is of no type that WMI has for its property.
    HRESULT Read(IWbemClassObject& object, InstancePtr& out);

  private:
    /// The definition, cut down to the properties that the object has.
    HRESULT DefinitionOf(IWbemClassObject& object, ClassPtr& out);

    IWbemServices& services_;
    std::map<std::wstring, ClassPtr> definitions_;  ///< by lower-case name
    ClassPtr projection_;                           ///< of the last object that was cut down
};

}  // namespace velkpci
