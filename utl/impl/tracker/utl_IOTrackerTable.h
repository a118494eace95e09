#pragma once

// The files of one of the tracker's two tables, and what was counted for them.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "utl/utl_IOTracker.h"

struct utl_IOTrackerIndividual;

/// The kinds of files, as records have them.
constexpr int utl_kScratchFile = 0;
constexpr int utl_kWorkFile = 1;
constexpr int utl_kUnclassifiedFile = 2;

/// Entries in the order of their creation; nothing is ever taken out, and an entry stays
/// where it is. An operation finds its entry by the key under which the file was opened.
/// A path is found too, so that a file that is opened again is counted on.
///
/// Threads: used by one thread at a time.
class utl_IOTrackerTable {
 public:
  struct Entry {
    const char* path;  // lives as long as the table, whatever the entry's next path is
    utl_IOTrackerRecord totals = {};
    utl_IOTrackerRecord increments = {};
    utl_IOTrackerIndividual* individual = nullptr;  // not owned; null until it is made
  };

  /// With `details` bytes, opens and changes of position are counted too.
  explicit utl_IOTrackerTable(bool details) : details_(details) {}
  utl_IOTrackerTable(const utl_IOTrackerTable&) = delete;
  utl_IOTrackerTable& operator=(const utl_IOTrackerTable&) = delete;

  /// The key means the entry of `path` from now on; a new entry gets the kind.
  void Open(std::int64_t key, std::string_view path, int kind);
  void Close(std::int64_t key) { byKey_.erase(key); }
  /// The entry that had the new path loses it: its file was replaced.
  void Rename(std::int64_t key, std::string_view path);

  // An unknown key makes an entry with the path " ".
  void Write(std::int64_t key, std::int64_t bytes, double seconds);
  void Read(std::int64_t key, std::int64_t bytes, double seconds);

  void Seek(std::int64_t key);
  void SetKind(std::int64_t key, int kind);

  /// The key's entry, or null.
  const Entry* Find(std::int64_t key) const;

  int Count() const { return count_; }
  /// REQUIRES: 0 <= index < Count().
  Entry& At(int index) const {
    const auto place = static_cast<std::size_t>(index);
    return blocks_[place / kBlock][place % kBlock];
  }

 private:
  static constexpr std::size_t kBlock = 24;

  Entry* Look(std::int64_t key) const;
  Entry& ForOperation(std::int64_t key);
  Entry& Add(const char* path, int kind);

  std::unordered_map<std::int64_t, Entry*> byKey_;
  // Every path there ever was, with the entry that bears it now, if one does.
  std::unordered_map<std::string, Entry*> byPath_;
  std::vector<std::unique_ptr<Entry[]>> blocks_;
  int count_ = 0;
  bool details_;
};

/// The sums over the files of the scratch directory and over all others.
struct utl_IOTrackerSums {
  utl_IOTrackerRecord work;
  utl_IOTrackerRecord scratch;
};

/// Adds the totals, or the increments, of a table's entries.
void utl_addTotals(const utl_IOTrackerTable& table, utl_IOTrackerSums& sums);
void utl_addIncrements(const utl_IOTrackerTable& table, utl_IOTrackerSums& sums);
