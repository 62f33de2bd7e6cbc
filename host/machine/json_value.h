#pragma once

#include <optional>

#include "host/json.h"
#include "host/model/value.h"

namespace velkhost {

/// A JSON value as a property of that type: null, true and false, numbers within the type's range, text for
/// strings, datetimes and references, arrays of these. Nothing when it does not fit.
std::optional<Value> ValueFromJson(const CimType& type, const Json& json);

}  // namespace velkhost
