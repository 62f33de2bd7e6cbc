#pragma once

#include <string>
#include <vector>

#include "tool/inventory/wmi_reader.h"

namespace velkpci {

/// One association instance with the paths it ties together, in the class's order of properties.
struct Reference {
    InstancePtr association;
    std::vector<std::wstring> ends;
};

/// An association class that could not be read.
struct FailedClass {
    std::wstring name;
    HRESULT status;
};

/// The references of all association classes of the namespace that have the object of that identity (see
/// PathIdentity) at one end. A class that fails is told in `failed`; what came before its failure counts.
std::vector<Reference> ReferencesOf(WmiReader& reader, const std::wstring& identity,
                                    std::vector<FailedClass>& failed);

}  // namespace velkpci
