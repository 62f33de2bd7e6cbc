#pragma once

#include <string>
#include <vector>

#include "common/platform.h"

namespace velkhost {

/// Puts a stand-in behind an imported function of a loaded module: the slot of the module's own import table
/// is overwritten and restored at destruction. Only calls that this module makes are affected.
///
/// Not to be constructed or destroyed while another thread may be calling the function through the same
/// module.
class ImportRedirect {
  public:
    /// Redirects the import named `function` of `module` (every slot of it, whatever DLL it is imported
    /// from). Throws std::runtime_error when the module does not import such a function.
    ImportRedirect(HMODULE module, const char* function, void* standIn);
    ~ImportRedirect();
    ImportRedirect(ImportRedirect&& other) noexcept;
    ImportRedirect(const ImportRedirect&) = delete;
    ImportRedirect& operator=(const ImportRedirect&) = delete;

    /// The function that stood there before.
    template <class Function>
    Function Original() const {
        return reinterpret_cast<Function>(original_);
    }

    /// Whether the module imports such a function at all (an optimised build may not).
    static bool Imports(HMODULE module, const char* function);

  private:
    std::vector<void**> slots_;
    void* original_ = nullptr;
};

/// One imported function of a module.
struct ImportedFunction {
    std::string library;   ///< the DLL's name as the import table spells it
    std::string function;  ///< empty when imported by ordinal
    void** slot;           ///< where the loader wrote its address
};

/// Writes an address into a table that the loader or the compiler protected against it.
void WriteSlot(void** slot, void* value);

/// The import table of a loaded module.
std::vector<ImportedFunction> ReadImports(HMODULE module);

}  // namespace velkhost
