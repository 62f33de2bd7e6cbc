#pragma once

#include "common/platform.h"
#include "common/text.h"

namespace velk {

/// Reads a REG_SZ value without its terminating zeros. False, with the output untouched, when there is no
/// such value or it has another type. Throws std::bad_alloc.
bool ReadRegistryText(HKEY key, const wchar_t* name, CString& value);

/// Reads a REG_DWORD value of four bytes. False, with the output untouched, otherwise.
bool ReadRegistryDword(HKEY key, const wchar_t* name, DWORD& value) noexcept;

}  // namespace velk
