#pragma once

#include <memory>

#include "tool/source/source.h"

namespace velkpci {

/// The registered DLL in this process, with WMI's part played by the host: on a replayed machine, or on this
/// computer itself.
std::unique_ptr<Source> OpenHostedSource(const SourceOptions& options, const Console& console);

}  // namespace velkpci
