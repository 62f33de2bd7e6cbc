#pragma once

#include <string>

#include "host/com/com_object.h"
#include "ledger.h"
#include "support/fake_wbem.h"

namespace velktest {

/// Everything that must be as it was once a run is over.
struct Holdings {
    std::string owned = Books().Summary();
    std::size_t strangers = Books().Strangers();
    long fakes = LiveFakes();
    long comObjects = velkhost::LiveComObjects();

    bool operator==(const Holdings&) const = default;

    std::string Text() const {
        return "{" + owned + std::to_string(strangers) + " strangers, " + std::to_string(fakes) +
               " WMI objects, " + std::to_string(comObjects) + " host objects}";
    }

    /// What differs now; empty when nothing does.
    std::string Difference() const {
        const Holdings now;
        return now == *this ? "" : "before " + Text() + ", after " + now.Text() + "; ";
    }
};

/// A status as people write it.
inline std::string Hex(HRESULT status) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(status));
    return text;
}

}  // namespace velktest
