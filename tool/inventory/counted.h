#pragma once

#include <cstddef>
#include <string>

namespace velkpci {

/// "1 slot", "2 slots".
inline std::string Counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace velkpci
