#pragma once

#include <vector>

#include "bench/platform_calls.h"
#include "bench/recorder.h"
#include "host/import_redirect.h"
#include "host/machine/machine.h"
#include "host/method_redirect.h"

namespace velkbench {

/// Puts stand-ins that cost close to nothing behind everything that a module calls: SetupAPI answers from
/// tables in memory, a spawned instance is the class itself, Put does nothing, a query gives one object,
/// whose properties are constants. What is left to be measured is the module. One at a time.
class NearFree {
  public:
    NearFree(HMODULE module, const Recorder::Objects& objects);
    ~NearFree();
    NearFree(const NearFree&) = delete;
    NearFree& operator=(const NearFree&) = delete;

    /// The machine that answers from now on.
    void Use(const velkhost::Machine& machine);
    /// What stands behind the module's imports.
    static PlatformCalls Calls();

  private:
    std::vector<velkhost::ImportRedirect> imports_;
    std::vector<velkhost::MethodRedirect> methods_;
};

}  // namespace velkbench
