#pragma once

#include <optional>

#include "host/model/class_def.h"
#include "host/mof/document.h"

namespace velkhost {

/// The constant as a value of the type; nothing when it does not fit (wrong kind, out of range, NULL within
/// an array, an alias, which is no constant).
std::optional<Value> ValueOfLiteral(const CimType& type, const mof::Literal& literal);

/// The qualifier that the text declares: its type follows from the constant (boolean, sint32 or wider,
/// real64, string, or an array of one of them). Nothing when the constant fits none.
std::optional<QualifierDef> MakeQualifier(const mof::Qualifier& declared);

}  // namespace velkhost
