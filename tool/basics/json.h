#pragma once

#include <nlohmann/json.hpp>

namespace velkpci {

/// Members in the order in which they were added: documents are read by people, too.
using Json = nlohmann::ordered_json;

}  // namespace velkpci
