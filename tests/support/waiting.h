#pragma once

#include "common/platform.h"

namespace velktest {

/// Milliseconds after which a test gives something up: far more than anything takes on a loaded machine,
/// where starting a process under Wine may take seconds; an hour in the long form of a test.
DWORD Patience();

/// Whether a kernel object becomes signalled in that time.
bool BecomesSignalled(HANDLE object);

/// Whether a condition becomes true in that time; it is looked at every few milliseconds.
template <class Condition>
bool BecomesTrue(Condition condition) {
    for (DWORD waited = 0; !condition(); waited += 5) {
        if (waited >= Patience()) return false;
        ::Sleep(5);
    }
    return true;
}

}  // namespace velktest
