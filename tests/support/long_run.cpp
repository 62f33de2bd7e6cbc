#include "support/long_run.h"

#include <cstdlib>
#include <string>

namespace velktest {

namespace {

bool IsSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0' && std::string(value) != "0";
}

}  // namespace

bool IsLongRun() { return IsSet("VELK_LONG"); }

std::size_t CaseStride() { return IsSet("VELK_REPETITION") && !IsLongRun() ? 3 : 1; }

}  // namespace velktest
