#pragma once

namespace velkpci {

/// The program's version, "1.0.0"; the DLL of the same build has the same.
inline constexpr char kVersion[] = VELK_VERSION;

}  // namespace velkpci
