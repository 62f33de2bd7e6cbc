#include "framework/instance_list.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace velk {

namespace {

/// 0 marks a failed rebuild and 1 is skipped, so a list that starts afresh, after a failure or at the end of
/// the number range, continues with 2.
constexpr std::uint32_t kFirstGeneration = 2;

std::uint32_t NextGeneration(std::uint32_t generation) noexcept {
    if (generation < kFirstGeneration || generation == std::numeric_limits<std::uint32_t>::max()) {
        return kFirstGeneration;
    }
    return generation + 1;
}

/// Locks the sources of a list in order and unlocks them in the opposite order, on every way out.
class SourceLocks {
  public:
    explicit SourceLocks(const std::vector<CListBase*>& sources) noexcept : sources_(sources) {
        for (CListBase* source : sources_) source->Mutex().Lock();
    }
    ~SourceLocks() {
        for (auto source = sources_.rbegin(); source != sources_.rend(); ++source)
            (*source)->Mutex().Unlock();
    }
    SourceLocks(const SourceLocks&) = delete;
    SourceLocks& operator=(const SourceLocks&) = delete;

  private:
    const std::vector<CListBase*>& sources_;
};

}  // namespace

std::uint32_t CListBase::RebuildAndStamp() {
    const std::uint32_t next = NextGeneration(generation_);
    // Stays so when the rebuild fails or throws.
    generation_ = 0;
    if (RefreshSourcesAndRebuild()) generation_ = next;
    return generation_;
}

bool CListBase::RebuildIfChanged(std::uint32_t& cacheGeneration) {
    const std::uint32_t generation = RebuildAndStamp();
    return std::exchange(cacheGeneration, generation) != generation;
}

bool CListBase::RefreshSourcesAndRebuild() {
    const SourceLocks locks(sources_);
    const auto isFresh = [](CListBase* source) { return source->RebuildAndStamp() != 0; };
    try {
        if (std::ranges::all_of(sources_, isFresh) && RebuildList()) return true;
    } catch (...) {
        Clear();
        throw;
    }
    Clear();
    return false;
}

}  // namespace velk
