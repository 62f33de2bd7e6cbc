#include "support/long_run.h"

#include <cstdlib>
#include <string>

namespace velktest {

bool IsLongRun() {
    const char* const value = std::getenv("VELK_LONG");
    return value != nullptr && *value != '\0' && std::string(value) != "0";
}

}  // namespace velktest
