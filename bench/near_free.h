#pragma once

#include <array>
#include <string>
#include <vector>

#include "bench/platform_calls.h"
#include "common/variant.h"
#include "host/import_redirect.h"
#include "host/machine/machine.h"
#include "host/method_redirect.h"

namespace velkbench {

/// What the stand-ins answer of a machine, made beforehand so that it costs nothing when it is asked for.
struct Answers {
    explicit Answers(const velkhost::Machine& machine);

    /// The properties of one device by their codes; no bytes for one that is not there.
    using Device = std::array<std::vector<BYTE>, SPDRP_MAXIMUM_PROPERTY>;
    std::vector<Device> devices;
    std::wstring computerName;
    velk::Variant table, tableSize;  ///< the SMBIOS table as WMI tells it
};

/// Puts stand-ins that cost close to nothing behind everything that a module calls: SetupAPI answers from
/// tables in memory, a spawned instance is the class itself, Put does nothing, a query gives one object,
/// whose properties are constants. What is left to be measured is the module. One at a time.
class NearFree {
  public:
    /// `answers` are those of the machine that answers at first.
    NearFree(HMODULE module, const SampleObjects& objects, const Answers& answers);
    ~NearFree();
    NearFree(const NearFree&) = delete;
    NearFree& operator=(const NearFree&) = delete;

    /// The machine that answers from now on; the answers outlive their use.
    void Use(const Answers& answers);
    /// What stands behind the module's imports.
    static PlatformCalls Calls();

  private:
    std::vector<velkhost::ImportRedirect> imports_;
    std::vector<velkhost::MethodRedirect> methods_;
};

}  // namespace velkbench
