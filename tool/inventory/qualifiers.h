#pragma once

#include "host/model/class_def.h"

namespace velkpci {

/// Whether a class carries a boolean qualifier ("Association", "Abstract") that is TRUE.
inline bool IsMarked(const velkhost::ClassDef& definition, const wchar_t* name) {
    const velkhost::QualifierDef* qualifier = velkhost::FindQualifier(definition.qualifiers, name);
    const bool* truth = qualifier == nullptr ? nullptr : qualifier->value.As<bool>();
    return truth != nullptr && *truth;
}

}  // namespace velkpci
