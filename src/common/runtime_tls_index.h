#pragma once

namespace velk {

/// Frees the TLS index that GCC's thread library, linked into this module, takes at the module's first
/// exception and never gives back: a process has some thousand for all its modules. To be called when the
/// module is being unloaded and nothing of it runs any more but that: an exception that followed would keep
/// its state in an index that may be somebody else's by then.
void FreeRuntimeTlsIndex() noexcept;

}  // namespace velk
