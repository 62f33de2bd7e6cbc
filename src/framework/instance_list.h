#pragma once

#include <cstdint>
#include <initializer_list>
#include <tuple>
#include <utility>
#include <vector>

#include "common/mutex.h"
#include "common/platform.h"

namespace velk {

/// What every list of inventory records is besides its records: a lock, a generation number and the flag of
/// the last rebuild. A list may be built from other lists, its sources.
///
/// Lock order: a list's own lock first, then those of its sources in the order given here. The caller holds
/// the list's own lock around every use; the list itself locks its sources while it rebuilds.
class CListBase {
  public:
    explicit CListBase(std::initializer_list<CListBase*> sources = {}) : sources_(sources) {}
    virtual ~CListBase() = default;
    CListBase(const CListBase&) = delete;
    CListBase& operator=(const CListBase&) = delete;

    CMutex& Mutex() noexcept { return mutex_; }

    /// Refreshes the sources, then rebuilds the records and steps the generation. Returns the new generation:
    /// 0 when the refresh of a source or the rebuild failed, which leaves no record; else at least 2. Throws
    /// std::bad_alloc or std::length_error, after marking the rebuild as failed.
    std::uint32_t RebuildAndStamp();

    /// As RebuildAndStamp; stores the new generation into the caller's and returns true when they differ.
    bool RebuildIfChanged(std::uint32_t& cacheGeneration);

    /// Whether the last rebuild succeeded; false before the first.
    bool Succeeded() const noexcept { return generation_ != 0; }

    virtual std::size_t Count() const noexcept = 0;

  protected:
    /// Replaces all records by those of a fresh reading of the source. Returns whether that succeeded; a
    /// failed rebuild leaves no record. Called with the list's own lock and its sources' locks held.
    virtual bool RebuildList() = 0;
    virtual void Clear() noexcept = 0;

  private:
    bool RefreshSourcesAndRebuild();

    CMutex mutex_;
    std::uint32_t generation_ = 0;
    std::vector<CListBase*> sources_;
};

/// A list of records, in the order in which the rebuild appended them.
template <class RecordType>
class CInstanceList : public CListBase {
  public:
    using Record = RecordType;
    using CListBase::CListBase;

    std::size_t Count() const noexcept final { return records_.size(); }
    const Record& At(std::size_t index) const { return records_[index]; }
    auto begin() const noexcept { return records_.begin(); }
    auto end() const noexcept { return records_.end(); }

  protected:
    void Append(Record record) { records_.push_back(std::move(record)); }
    void Clear() noexcept override { records_.clear(); }

  private:
    std::vector<Record> records_;
};

/// A list of records that are made from other lists, its sources: what is locked and refreshed for a rebuild
/// is what the rebuild is handed, and nothing else.
template <class RecordType, class... Sources>
class CDerivedList : public CInstanceList<RecordType> {
  protected:
    explicit CDerivedList(Sources&... sources)
        : CInstanceList<RecordType>({&sources...}), sources_(sources...) {}

    /// As RebuildList, from the refreshed sources.
    virtual bool RebuildFrom(const Sources&... sources) = 0;

  private:
    bool RebuildList() final {
        return std::apply([this](const Sources&... sources) { return RebuildFrom(sources...); }, sources_);
    }

    std::tuple<const Sources&...> sources_;
};

}  // namespace velk
