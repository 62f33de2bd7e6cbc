#pragma once

#include <vector>

#include "host/method_redirect.h"

namespace velktest {

/// Lets the calls that reach WMI's objects fail by the plan (Faults()) and keeps books (Books()) of the
/// values that they hand out. The objects are those of the fakes and of the host's path parser.
class WmiFaults {
  public:
    /// Needs a COM apartment in which the path parser is registered, and a fake WMI.
    WmiFaults();

  private:
    std::vector<velkhost::MethodRedirect> redirects_;
};

}  // namespace velktest
