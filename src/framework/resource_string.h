#pragma once

#include "common/platform.h"
#include "common/text.h"

namespace velk {

/// A text of the module's string table, first in the language of the thread locale, then in US English; a
/// text that is in neither reads "<String could not be found!>".
///
/// The first call in the process settles the module (by its file name) and the locale for all later ones: the
/// texts that one host process delivers are all in one language, whichever thread asks. A module that was not
/// there then has no texts from then on.
///
/// Throws std::bad_alloc.
CString LoadResourceString(const wchar_t* moduleFile, UINT id);

}  // namespace velk
