#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "common/handle.h"
#include "host/import_redirect.h"

namespace velktest {

/// Lets the platform functions that a loaded module imports fail by the plan (Faults()) and keeps books of
/// what they hand out (Books()). Redirections that exist already stay in use below.
///
/// Functions that give something back (CloseHandle, ReleaseMutex) do their work also when they are made to
/// fail: what they really leave undone when they fail is nothing that was there.
class ImportFaults {
  public:
    explicit ImportFaults(HMODULE module);
    ~ImportFaults();
    ImportFaults(const ImportFaults&) = delete;
    ImportFaults& operator=(const ImportFaults&) = delete;

    /// Learns from something that makes the module allocate which calls of malloc are operator new's: those
    /// that come from the place where most come from. Only they are made to fail: the others are the
    /// compiler's run-time making an exception.
    void FindOperatorNew(const std::function<void()>& allocates);

    /// Threads that the module starts do not run before this, which waits for their end: so every run makes
    /// the same calls in the same order.
    void RunThreads();

    /// Frees the TLS indexes that were kept for the module's image. To be called once it is unloaded.
    static void FreeTlsIndexes();

  private:
    std::vector<velkhost::ImportRedirect> redirects_;
};

/// The functions that can be made to fail or are kept books of.
std::set<std::string> InjectedImports();
/// The functions that are left alone, because they cannot fail or are none of the module's own.
std::set<std::string> UntouchedImports();

}  // namespace velktest
