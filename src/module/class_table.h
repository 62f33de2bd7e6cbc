#pragma once

#include <span>

#include "common/platform.h"

namespace velk {

/// One COM class of the module. The texts live as long as the module.
struct ClassTableEntry {
    CLSID clsid;
    const wchar_t* progId;
    const wchar_t* versionIndependentProgId;
    const wchar_t* description;
    /// Makes an object and hands out the interface asked for; never throws.
    HRESULT (*create)(REFIID iid, void** object);
};

/// The classes that the module serves and registers.
std::span<const ClassTableEntry> ClassTable() noexcept;

}  // namespace velk
