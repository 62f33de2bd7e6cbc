#pragma once

#include <cstddef>
#include <vector>

#include "host/import_redirect.h"

namespace velktest {

/// A process that may have no more than so much memory, as far as one module asks for it: all allocations of
/// the module, those of its C++ run-time among them, are refused once they would exceed the limit. Of what is
/// given back up to 4 KB a block can be had again. One at a time; to be made while the module is idle and
/// destroyed before it is unloaded.
class MemoryLimit {
  public:
    explicit MemoryLimit(HMODULE module);
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

    /// From now on the module may have so many bytes more than it has now.
    void Set(std::size_t bytes);
    void Lift();
    /// How many allocations were refused since the limit was set, and how many of them by malloc, from which
    /// operator new has its memory.
    std::size_t Refused() const;
    std::size_t MallocsRefused() const;

  private:
    std::vector<velkhost::ImportRedirect> redirects_;
};

}  // namespace velktest
