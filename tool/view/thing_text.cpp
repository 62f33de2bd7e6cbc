#include "tool/view/thing_text.h"

#include <cstdio>

#include "host/utf8.h"
#include "tool/view/object_view.h"

namespace velkpci {

std::string IdsOf(const Function& function) {
    char ids[16];
    std::snprintf(ids, sizeof(ids), "%04X:%04X", static_cast<unsigned>(function.vendorId),
                  static_cast<unsigned>(function.deviceId));
    return ids;
}

std::string NameOf(const Computer& computer) {
    return computer.path.empty() ? computer.name : ShortNameOfPath(velkhost::WideFromUtf8(computer.path));
}

}  // namespace velkpci
