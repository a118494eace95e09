#pragma once

#include <cstdint>
#include <memory>

#include "KSTutl_export.h"
#include "thr/thr_GlobalSingleton.h"

/// What was counted for one file, or summed over many. A megabyte is 1,048,576 bytes;
/// times are in seconds.
struct utl_IOTrackerRecord {
  int writeCount = 0;
  double writeMB = 0;
  double writeTime = 0;
  int readCount = 0;
  double readMB = 0;
  double readTime = 0;
  std::int64_t bytesWritten = 0;  ///< This and the next three: from level 3 on.
  std::int64_t bytesRead = 0;
  int opens = 0;
  int kind = 2;  ///< 0 scratch directory, 1 work directory, 2 not classified yet.
  std::int64_t seeks = 0;
};

/// Counts the operations that the product's input and output code reports for its files,
/// and writes totals at code marks or time points.
///
/// Files are kept in two tables of the same form: table C holds files reached through
/// descriptors or C streams, under the key of their descriptor or address; table U files
/// reached through numbered units, under the unit's number. Paths are texts; of a longer
/// one the first 1023 characters count. `bytes` and `seconds` that are negative or not a
/// number count as 0.
///
/// The order of the virtual functions is part of the interface.
///
/// Threads: any thread, at any time between the tracker's making and its end.
class KSTUTL_EXPORT utl_IOTracker {
 public:
  virtual ~utl_IOTracker();

  /// Writes a line of totals with `label`; null is the empty label. In timed mode it
  /// writes nothing, since the lines have no column for the label.
  virtual void Mark(const char* label) = 0;
  /// Writes the lines of one time point, without a label.
  virtual void TimePoint() = 0;

  /// `path` was opened and is known by `key` from now on, as is the entry the path had
  /// before. A key in use moves to this path.
  virtual void COpen(std::int64_t key, const char* path) = 0;
  /// The key is no longer used; what was counted stays.
  virtual void CClose(std::int64_t key) = 0;
  /// The file has a new path; it keeps its kind. An unknown key is ignored.
  virtual void CRename(std::int64_t key, const char* path) = 0;
  /// One operation that wrote `bytes` in `seconds`. An unknown key makes an entry with
  /// the path " ".
  virtual void CWrite(std::int64_t key, std::int64_t bytes, double seconds) = 0;
  /// The same for a read.
  virtual void CRead(std::int64_t key, std::int64_t bytes, double seconds) = 0;
  /// One change of position. An unknown key is ignored.
  virtual void CSeek(std::int64_t key, double seconds) = 0;
  /// Classifies the file: 0 scratch, 1 work, 2 neither. An unknown key is ignored.
  virtual void CSetKind(std::int64_t key, int kind) = 0;
  /// The file's kind; 2 for an unknown key.
  virtual int CKind(std::int64_t key) = 0;
  /// Copies the file's totals to `record`. False, and zeros, for an unknown key.
  virtual bool CTotals(std::int64_t key, utl_IOTrackerRecord& record) = 0;
  /// The same for what was counted since increments were last written.
  virtual bool CIncrements(std::int64_t key, utl_IOTrackerRecord& record) = 0;
  /// The number of the table's entries.
  virtual int CCount() = 0;
  /// The path of entry `index`, in the order of creation from 0.
  virtual const char* CPath(int index) = 0;

  // The same for the files reached through numbered units.
  virtual void UOpen(std::int64_t key, const char* path) = 0;
  virtual void UClose(std::int64_t key) = 0;
  virtual void URename(std::int64_t key, const char* path) = 0;
  virtual void UWrite(std::int64_t key, std::int64_t bytes, double seconds) = 0;
  virtual void URead(std::int64_t key, std::int64_t bytes, double seconds) = 0;
  virtual void USeek(std::int64_t key, double seconds) = 0;
  virtual void USetKind(std::int64_t key, int kind) = 0;
  virtual int UKind(std::int64_t key) = 0;
  virtual bool UTotals(std::int64_t key, utl_IOTrackerRecord& record) = 0;
  virtual bool UIncrements(std::int64_t key, utl_IOTrackerRecord& record) = 0;
  virtual int UCount() = 0;
  virtual const char* UPath(int index) = 0;

  /// Seconds since the tracker was made.
  virtual double Now() = 0;
  /// The tracking level: 1, 2 or 3.
  virtual int Level() = 0;
  /// The sum of both tables' totals: of scratch files for kind 0, of all others for any
  /// other kind.
  virtual void SumTotals(int kind, utl_IOTrackerRecord& record) = 0;
  /// The same for the increments.
  virtual void SumIncrements(int kind, utl_IOTrackerRecord& record) = 0;
  /// Output files opened from now on are named with "_" and `text` at the end; null or
  /// "" ends that.
  virtual void SetSuffix(const char* text) = 0;
  /// Writes a line of increments, without a label when it is null, and zeroes them.
  virtual void WriteIncrements(const char* label) = 0;
  /// Has everything written so far reach the files.
  virtual void FlushOutputs() = 0;
};

/// Holds the process's I/O tracker, if there is one. Opening a file for writing makes
/// sure that this holder exists.
///
/// Threads: any, through thr_GlobalSingleton<utl_IOTracker_Container>::Instance().
///
///     if (utl_IOTracker* tracker = holder.Tracker()) tracker->CWrite(key, bytes, s);
class KSTUTL_EXPORT utl_IOTracker_Container {
 public:
  utl_IOTracker_Container();
  /// Ends the tracker.
  ~utl_IOTracker_Container();
  utl_IOTracker_Container(const utl_IOTracker_Container&) = delete;
  utl_IOTracker_Container& operator=(const utl_IOTracker_Container&) = delete;

  /// The tracker, owned by this holder; null when tracking is off.
  utl_IOTracker* Tracker() const { return tracker_.get(); }

 private:
  std::unique_ptr<utl_IOTracker> tracker_;
};

extern template class KSTUTL_EXPORT thr_GlobalSingleton<utl_IOTracker_Container>;
