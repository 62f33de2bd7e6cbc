#pragma once

namespace velk {

/// The management suite's namespace, in which all classes of this module and the suite's own live.
inline constexpr wchar_t kSuiteNamespace[] = L"root\\VKQ";

/// The suite's settings, below HKEY_LOCAL_MACHINE.
inline constexpr wchar_t kSettingsKey[] = L"Software\\Velkor\\WBEM";

}  // namespace velk
