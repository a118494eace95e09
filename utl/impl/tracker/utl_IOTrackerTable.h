#pragma once

// The files of one of the tracker's two tables, and what was counted for them.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "utl/impl/tracker/utl_IOTrackerMutex.h"
#include "utl/impl/tracker/utl_IOTrackerScratch.h"
#include "utl/utl_IOTracker.h"

/// The kinds of files, as records have them.
inline constexpr int kScratchFile = 0;
inline constexpr int kWorkFile = 1;
inline constexpr int kUnclassifiedFile = 2;

/// The two spans in which everything is counted: since the file's first operation, and
/// since the latest line of increments.
enum utl_IOTrackerSpan { kTotals, kIncrements };

/// One file. The counts of writing are adjacent, and so are those of reading: an
/// operation touches a single cache line of the processor.
struct alignas(64) utl_IOTrackerEntry {
  struct Amount {
    int count = 0;
    double megabytes = 0;
    double seconds = 0;
    std::int64_t bytes = 0;
  };
  struct Further {
    int opens = 0;
    std::int64_t seeks = 0;
  };

  utl_IOTrackerRecord Record(utl_IOTrackerSpan span) const;

  Amount written[2];  // by span, like all counts
  Amount read[2];
  Further further[2];
  int kind = kUnclassifiedFile;
  const char* path = nullptr;  // lives as long as the table, even after a renaming
};

/// The sums over the files of the scratch directory and over all others.
struct utl_IOTrackerSums {
  utl_IOTrackerRecord work;
  utl_IOTrackerRecord scratch;
};

/// Entries in the order of their creation; nothing is ever taken out, and an entry stays
/// where it is. An operation finds its entry by the key under which the file was opened.
/// Paths are looked up, too, so that counting continues when a file is opened again.
///
/// Threads: any; the operations lock a mutex that both tables share.
class utl_IOTrackerTable {
 public:
  using Entry = utl_IOTrackerEntry;

  /// With `details` bytes, opens and changes of position are counted too. The mutex and
  /// the scratch directory belong to the caller.
  utl_IOTrackerTable(utl_IOTrackerMutex& mutex, const utl_IOTrackerScratch& scratch,
                     bool details)
      : mutex_(mutex), scratch_(scratch), details_(details) {}
  utl_IOTrackerTable(const utl_IOTrackerTable&) = delete;
  utl_IOTrackerTable& operator=(const utl_IOTrackerTable&) = delete;

  // The operations of utl_IOTracker.
  void Open(std::int64_t key, const char* path);
  void Close(std::int64_t key);
  void Rename(std::int64_t key, const char* path);
  void Write(std::int64_t key, std::int64_t bytes, double seconds);
  void Read(std::int64_t key, std::int64_t bytes, double seconds);
  void Seek(std::int64_t key);
  void SetKind(std::int64_t key, int kind);
  int Kind(std::int64_t key);
  bool Copy(std::int64_t key, utl_IOTrackerSpan span, utl_IOTrackerRecord& record);
  int Count();
  const char* Path(int index);

  // For lines that show both tables at one moment.
  // REQUIRES: the mutex is held.
  /// Calls `visit` with every entry in their order.
  template <class Visit>
  void ForEach(Visit visit) const {
    for (std::size_t i = 0; i < count_; ++i) {
      visit(At(i));
    }
  }
  void AddTo(utl_IOTrackerSums& sums, utl_IOTrackerSpan span) const;
  /// Sets all increments to zero.
  void ClearIncrements();

 private:
  static constexpr std::size_t kBlock = 24;

  // REQUIRES: the mutex is held.
  Entry& At(std::size_t index) const { return blocks_[index / kBlock][index % kBlock]; }
  Entry* Find(std::int64_t key) const;
  Entry& ForOperation(std::int64_t key);
  Entry& Add(const char* path, int kind);

  utl_IOTrackerMutex& mutex_;
  const utl_IOTrackerScratch& scratch_;
  const bool details_;
  // Keeps the nodes of the keys close together: with many files the processor's cache
  // decides how long an operation takes.
  std::pmr::unsynchronized_pool_resource nodes_;
  std::pmr::unordered_map<std::int64_t, Entry*> byKey_{&nodes_};
  // Every path so far, with the entry that has it now, or null.
  std::unordered_map<std::string, Entry*> byPath_;
  std::vector<std::unique_ptr<Entry[]>> blocks_;
  std::size_t count_ = 0;
};
