#pragma once

#include "host/json.h"

namespace velkpci {

using velkhost::Json;
using velkhost::JsonText;
using velkhost::ParseJson;

}  // namespace velkpci
