#include "support/waiting.h"

#include "support/long_run.h"

namespace velktest {

DWORD Patience() {
    static const DWORD patience = IsLongRun() ? 3600000 : 60000;
    return patience;
}

bool BecomesSignalled(HANDLE object) { return ::WaitForSingleObject(object, Patience()) == WAIT_OBJECT_0; }

}  // namespace velktest
