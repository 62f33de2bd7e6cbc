#pragma once

namespace velk {

/// The management suite's namespace, in which all classes of this module and the suite's own live.
inline constexpr wchar_t kSuiteNamespace[] = L"root\\VKQ";

}  // namespace velk
