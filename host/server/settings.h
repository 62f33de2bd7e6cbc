#pragma once

#include <optional>
#include <string>

#include "common/platform.h"

namespace velkhost {

/// The registry key of the server's settings, below HKEY_LOCAL_MACHINE.
inline constexpr const wchar_t* kSettingsKey = LR"(Software\Velkor\velkhost)";

/// How the server is set up: for each setting an environment variable of the client's process, and where that
/// is missing or empty, a REG_SZ value below kSettingsKey.
struct ServerSettings {
    /// VELKHOST_MACHINE, Machine: the machine file; "this-computer" stands for the one that the client runs
    /// on. Nothing when neither is there.
    std::optional<std::wstring> machine;
    /// VELKHOST_CIMV2, Cimv2: the namespace that a client gets who asks for root\cimv2, for clients that can
    /// ask for no other. Nothing leaves root\cimv2 itself.
    std::optional<std::wstring> cimv2;
};

inline constexpr const wchar_t* kThisComputer = L"this-computer";

/// Reads them afresh. Throws std::bad_alloc.
ServerSettings ReadServerSettings();

}  // namespace velkhost
