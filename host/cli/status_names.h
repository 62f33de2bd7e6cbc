#pragma once

#include <string>

#include "common/platform.h"

namespace velkhost::cli {

/// "WBEM_E_NOT_FOUND (0x80041002)"; the number alone when it has no name here.
std::string DescribeStatus(HRESULT status);

}  // namespace velkhost::cli
