#pragma once

#include <vector>

#include "host/import_redirect.h"

namespace velktest {

/// Gives every block that a module allocates with operator new or from the process heap pages of its own, at
/// whose end the block ends, with a page behind it that may not be touched; and lets nobody touch one of the
/// last 4,000 that were freed. Reading or writing
/// beyond a block's end or life is an access violation at that very instruction.
///
/// Blocks of operator new begin at a multiple of 16, as code may rely on: up to 15 bytes behind them can be
/// read unseen; what is written there is found when the block is freed, and reported as a failure of the
/// test. BSTRs and SAFEARRAYs are the platform's, and not guarded.
///
/// To be made before the module owns anything and destroyed when it owns nothing. One at a time.
class PageHeap {
  public:
    explicit PageHeap(HMODULE module);
    /// Fails the test when the module left blocks behind.
    ~PageHeap();
    PageHeap(const PageHeap&) = delete;
    PageHeap& operator=(const PageHeap&) = delete;

  private:
    std::vector<velkhost::ImportRedirect> redirects_;
};

}  // namespace velktest
