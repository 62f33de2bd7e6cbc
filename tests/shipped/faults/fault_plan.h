#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>

#include "common/platform.h"

namespace velktest {

enum class FaultMode {
    kSingle,       ///< one call fails
    kFromThereOn,  ///< it and all calls after it fail
    kAllocations,  ///< of it and all calls after it those of operator new fail, and no other
};

/// operator new, as the calls of malloc that it makes are named.
inline constexpr char kOperatorNew[] = "malloc";

/// Decides which of the calls that leave the module fail. Every call that can fail asks once; the calls are
/// counted from 1 while the plan is armed, and none fails while it is not.
class FaultPlan {
  public:
    void Arm(std::size_t failing, FaultMode mode) noexcept;
    void Disarm() noexcept { armed_ = false; }

    /// Whether this call is to fail. `call` must live as long as the program. Keeps GetLastError().
    bool Fails(const char* call) noexcept;
    /// What was asked about has failed: for whoever makes it fail to tell, so that a fault that was decided
    /// upon and never happened is counted nowhere. Keeps GetLastError().
    void NoteFailure(const char* call) noexcept;

    /// Since the plan was armed last: how many calls were made, how many of them failed, and how many of
    /// those were operator new's.
    std::size_t Calls() const noexcept { return calls_; }
    std::size_t Injected() const noexcept { return injected_; }
    std::size_t RefusedAllocations() const noexcept { return refusedAllocations_; }
    /// The call that failed first, or "".
    const char* FirstFault() const noexcept { return firstFault_; }

  private:
    std::atomic<bool> armed_ = false;
    std::size_t failing_ = 0;
    FaultMode mode_ = FaultMode::kSingle;
    std::atomic<std::size_t> calls_ = 0;
    std::atomic<std::size_t> injected_ = 0;
    std::atomic<std::size_t> refusedAllocations_ = 0;
    std::atomic<const char*> firstFault_ = "";
};

/// The one plan of the process.
FaultPlan& Faults() noexcept;

/// What failing calls answer, so that a status can be told from those that the module makes itself.
inline constexpr HRESULT kInjected = static_cast<HRESULT>(0x80041015);  // WBEM_E_TRANSPORT_FAILURE
inline constexpr DWORD kInjectedError = ERROR_NO_SYSTEM_RESOURCES;

/// The name of a call as a template argument.
template <std::size_t length>
struct CallName {
    char text[length];
    consteval CallName(const char (&source)[length]) { std::copy_n(source, length, text); }
};

}  // namespace velktest
