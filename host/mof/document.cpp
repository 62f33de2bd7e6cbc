#include "host/mof/document.h"

namespace velkhost::mof {

MofError::MofError(const std::string& file, Location at, const std::string& message)
    : std::runtime_error(file + "(" + std::to_string(at.line) + "," + std::to_string(at.column) +
                         "): " + message),
      at_(at) {}

}  // namespace velkhost::mof
