#pragma once

#include <string>

#include "common/platform.h"

namespace velkpci {

/// "WBEM_E_NOT_FOUND"; empty when the status has no name here.
std::string StatusName(HRESULT status);

/// "0x80041002".
std::string FormatStatusNumber(HRESULT status);

/// Whether WMI says that a class, an instance or the namespace is not there, and nothing else. A get of a
/// class answers "not found", one of its instances "invalid class"; a namespace is made with the first class
/// in it.
bool IsNotThere(HRESULT status);

/// What an administrator can do about a failed connection or class, as a sentence; empty when nothing general
/// can be said.
std::string MendOf(HRESULT status);

/// "WBEM_E_NOT_FOUND (0x80041002)"; the number alone when it has no name here.
std::string DescribeStatus(HRESULT status);

}  // namespace velkpci
