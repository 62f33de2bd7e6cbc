#pragma once

#include <array>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/platform.h"

namespace velktest {

/// What the module can own.
enum class Owned {
    kMemory,  ///< of the C run-time: operator new
    kHeap,    ///< of the process heap
    kLocalMemory,
    kText,   ///< BSTR
    kArray,  ///< SAFEARRAY
    kMutex,
    kSemaphore,
    kFile,
    kThread,
    kRegistryKey,
    kLibrary,
    kDeviceSet,
    kApartment,  ///< a thread's membership
    kCount,
};

/// Books what the module acquires and gives back through the functions that it imports. Safe to use from
/// every thread.
class Ledger {
  public:
    void Add(Owned kind, const void* what);
    /// What is not in the books is passed over, but for kinds of which everything is: that is an error of
    /// its own.
    void Remove(Owned kind, const void* what);
    /// A handle of whatever kind; those of the compiler's thread library are in no book.
    void RemoveHandle(HANDLE handle);

    /// What a VARIANT holds.
    void AddVariant(const VARIANT& value);
    void RemoveVariant(const VARIANT& value);
    /// An array with its texts.
    void RemoveArray(SAFEARRAY* array);

    /// How much there is of each kind, as "kind: count" for comparison and for people; empty for nothing.
    std::string Summary() const;
    /// Things given back that were not owned.
    std::size_t Strangers() const;
    /// The mutexes and the semaphores that exist.
    std::vector<HANDLE> Mutexes() const { return All(Owned::kMutex); }
    std::vector<HANDLE> Semaphores() const { return All(Owned::kSemaphore); }

  private:
    using Book = std::unordered_map<const void*, int>;

    bool TryRemove(Owned kind, const void* what);
    std::vector<HANDLE> All(Owned kind) const;
    Book& Of(Owned kind) { return books_[static_cast<std::size_t>(kind)]; }
    const Book& Of(Owned kind) const { return books_[static_cast<std::size_t>(kind)]; }

    mutable std::mutex mutex_;
    std::array<Book, static_cast<std::size_t>(Owned::kCount)> books_;
    std::size_t strangers_ = 0;
};

/// The one ledger of the process.
Ledger& Books();

}  // namespace velktest
