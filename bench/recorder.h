#pragma once

#include <vector>

#include "bench/platform_calls.h"
#include "bench/trace.h"
#include "host/import_redirect.h"
#include "host/method_redirect.h"

namespace velkbench {

/// Takes down what a module calls of the platform while this lives. What WMI calls in its own turn to answer
/// is left out. One at a time.
class Recorder {
  public:
    /// `inner` is what stands behind the module's imports now.
    Recorder(HMODULE module, const PlatformCalls& inner, const SampleObjects& objects);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Ends the recording.
    Trace Take();

  private:
    std::vector<velkhost::ImportRedirect> imports_;
    std::vector<velkhost::MethodRedirect> methods_;
};

}  // namespace velkbench
