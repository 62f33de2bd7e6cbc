#pragma once

namespace velk {

/// The management suite's namespace, in which all classes of this module and the suite's own live.
inline constexpr wchar_t kSuiteNamespace[] = L"root\\VKQ";

/// The suite's settings, below HKEY_LOCAL_MACHINE.
inline constexpr wchar_t kSettingsKey[] = L"Software\\Velkor\\WBEM";

/// The one of them by which instances differ: a REG_DWORD other than 0 makes the slot types of modern servers
/// count.
inline constexpr wchar_t kModernSlotTypes[] = L"ModernSlotTypes";

}  // namespace velk
