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
/// and writes totals at code marks or time points, and a summary at its end.
///
/// It exists only where the environment asks for it when the process's holder, which is
/// below, is made:
///
///     KES_IO_TRACK         1: totals and summary
///                          2: increments beside the totals
///                          3, above: also bytes, opens and changes of position
///                          anything else: there is no tracker
///     KES_IO_TIMEPOINTS    2: timed mode; a task on the process's thr_ThreadPool
///                             writes the lines
///                          anything else: mark mode; `Mark` writes them
///     KES_IO_TIMEINTERVAL  timed mode's interval in hundredths of a second;
///                          100 if it is unset, 0 or less
///     KES_IO_INDIVIDUAL    above 0: an output of its own for every file
///
/// The command line's "outdir" and "job" name the outputs, "tmpdir" is the scratch
/// directory; of each the first 2048 characters count. docs/io-tracker.md tells what the
/// outputs are called and what is in them. One that cannot be opened or written is left
/// out in silence.
///
/// Files are kept in two tables of the same form: table C holds files reached through
/// descriptors or C streams, under the key of their descriptor or address; table U files
/// reached through numbered units, under the unit's number. Of a path the first 1023
/// characters count, and null is the path "". `bytes` and `seconds` that are negative, infinite or
/// not a number count as 0, and a count that has reached its type's limit stays there.
///
/// The order of the virtual functions is part of the interface.
///
/// Threads: any thread, at any time between the tracker's making and its end. Nothing
/// throws but std::bad_alloc.
class KSTUTL_EXPORT utl_IOTracker {
 public:
  virtual ~utl_IOTracker();

  /// Writes a line of totals with `label`, which is not looked into; null is the empty
  /// label. From level 2 on a line of increments with the same label and time follows in
  /// their file, and all increments are zeroed. In timed mode it writes nothing, since
  /// the lines have no column for the label.
  virtual void Mark(const char* label) = 0;
  /// Writes the same lines without a label, in either mode. In timed mode the task calls
  /// it.
  virtual void TimePoint() = 0;

  /// `path` was opened and is known by `key` from now on, beside other keys it may have.
  /// A path seen before gets its entry back, with its counts and its kind. A new entry is
  /// scratch if the path lies below the scratch directory, and work otherwise; relative
  /// names are taken from the current directory, the case of ASCII letters is ignored.
  /// A key in use moves to this path.
  virtual void COpen(std::int64_t key, const char* path) = 0;
  /// The key is no longer used; the entry and what was counted stay. An unknown key is
  /// ignored.
  virtual void CClose(std::int64_t key) = 0;
  /// The file has a new path; it keeps its counts and its kind. An entry that had this
  /// path keeps it in the summary only: its file was replaced. An unknown key is ignored.
  virtual void CRename(std::int64_t key, const char* path) = 0;
  /// One operation that wrote `bytes` in `seconds`. An unknown key makes an entry with
  /// the path " " and the kind 2, and is known from then on.
  virtual void CWrite(std::int64_t key, std::int64_t bytes, double seconds) = 0;
  /// The same for a read.
  virtual void CRead(std::int64_t key, std::int64_t bytes, double seconds) = 0;
  /// One change of position, counted from level 3 on; its time is not. An unknown key is
  /// ignored.
  virtual void CSeek(std::int64_t key, double seconds) = 0;
  /// Classifies the file: 0 scratch, 1 work, any other number 2, neither. An unknown key
  /// is ignored.
  virtual void CSetKind(std::int64_t key, int kind) = 0;
  /// The file's kind; 2 for an unknown key.
  virtual int CKind(std::int64_t key) = 0;
  /// Copies the file's totals to `record`. False, with zeros and the kind 2, for an
  /// unknown key.
  virtual bool CTotals(std::int64_t key, utl_IOTrackerRecord& record) = 0;
  /// The same for what was counted since increments were last written.
  virtual bool CIncrements(std::int64_t key, utl_IOTrackerRecord& record) = 0;
  /// The number of the table's entries.
  virtual int CCount() = 0;
  /// The path of entry `index`, in the order of creation from 0; "" for an index out of
  /// range. The text lives as long as the tracker.
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
  /// The sum of both tables' totals: of scratch files for kind 0; for any other number
  /// of all other files, those that are neither included.
  virtual void SumTotals(int kind, utl_IOTrackerRecord& record) = 0;
  /// The same for the increments.
  virtual void SumIncrements(int kind, utl_IOTrackerRecord& record) = 0;
  /// Output files opened from now on are named with "_" and the first 2048 characters of
  /// `text` at the end; null or "" ends that.
  virtual void SetSuffix(const char* text) = 0;
  /// Writes a line of increments, at any level, and zeroes them. The line has no label
  /// when that is null, nor in timed mode.
  virtual void WriteIncrements(const char* label) = 0;
  /// Has everything written so far reach the files.
  virtual void FlushOutputs() = 0;
};

/// Holds the process's I/O tracker, if there is one. Opening a file for writing makes
/// sure that this holder exists, and utl_finalize ends it.
///
/// Threads: any, through thr_GlobalSingleton<utl_IOTracker_Container>::Instance(). That
/// is one object until the end, so a reference may be kept.
///
///     auto& holder = thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
///     ...
///     if (utl_IOTracker* tracker = holder.Tracker()) tracker->CWrite(key, bytes, s);
class KSTUTL_EXPORT utl_IOTracker_Container {
 public:
  /// Makes the tracker if KES_IO_TRACK is above 0, and starts its timed task.
  utl_IOTracker_Container();
  /// Ends the tracker: it writes its summary, and in timed mode waits, a tenth of a
  /// second or so, for the task. That finishes the time point that it is at, or writes
  /// one more if it sleeps; then "Completed TimedOutTask" and a line end go to the
  /// standard error stream. A process that ends without this has no summary, and of the
  /// other outputs what had reached the files.
  /// REQUIRES: no other thread uses the tracker any more.
  ~utl_IOTracker_Container();
  utl_IOTracker_Container(const utl_IOTracker_Container&) = delete;
  utl_IOTracker_Container& operator=(const utl_IOTracker_Container&) = delete;

  /// The tracker, owned by this holder; null when tracking is off.
  utl_IOTracker* Tracker() const { return tracker_.get(); }

 private:
  std::unique_ptr<utl_IOTracker> tracker_;
};

extern template class KSTUTL_EXPORT thr_GlobalSingleton<utl_IOTracker_Container>;

/// Writes a line at a code mark, as utl_IOTracker::Mark does. Does nothing when there is
/// no tracker; it never makes the holder.
///
/// Threads: any, as long as nobody ends the library.
extern "C" KSTUTL_EXPORT void utl_IOTracker_Mark(const char* label);
