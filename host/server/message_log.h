#pragma once

#include <string>

namespace velkhost {

/// Writes a line where somebody finds it who wonders what a client's status means: to velkhost.log beside the
/// provider's own log, in System32\wbem\logs, and to the debugger. Where that folder is missing, to the
/// debugger alone. Never throws.
void LogMessage(const std::wstring& message) noexcept;

}  // namespace velkhost
