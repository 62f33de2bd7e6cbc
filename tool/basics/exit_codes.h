#pragma once

namespace velkpci {

// How the program ends; docs/velkpci.md tells users the same.
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;      ///< WMI answered a failure: what could be read was printed
inline constexpr int kBadUsage = 2;     ///< a wrong word or file; nothing was printed
inline constexpr int kCancelled = 130;  ///< Ctrl-C, as shells number it

}  // namespace velkpci
