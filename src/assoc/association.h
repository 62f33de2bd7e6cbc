#pragma once

#include "common/text.h"

namespace velk {

/// Two objects that belong together, each by its full object path. Which of the two an association class
/// names first is the order in which it writes its references.
struct CVelkAssociation {
    CString first;
    CString second;
};

}  // namespace velk
