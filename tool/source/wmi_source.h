#pragma once

#include "tool/source/source.h"

namespace velkpci {

/// WMI as any client reaches it, through CLSID_WbemLocator: of this computer, or of another one with packet
/// privacy and impersonation. Throws WmiError.
std::unique_ptr<Source> OpenWmiSource(const SourceOptions& options, const Console& console);

}  // namespace velkpci
