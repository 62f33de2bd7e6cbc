#pragma once

#include <vector>

#include "common/text.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace velktest {

/// The process-wide log at the most talkative level in a folder of its own, for as long as this lives.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();

    /// The lines so far without their time: "[Verbose] Class::Method| text".
    std::vector<velk::CString> Lines() const;
    /// Forgets what was written so far.
    void Clear();

  private:
    RegistryFixture registry_;
    TempFolder folder_;
    std::size_t skipped_ = 0;
};

}  // namespace velktest
