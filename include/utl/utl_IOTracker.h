#pragma once

#include <cstdint>
#include <memory>

#include "KSTutl_export.h"
#include "thr/thr_GlobalSingleton.h"

/// What was counted for one file, or summed over several. A megabyte is 1,048,576 bytes;
/// times are in seconds. A count that has reached its type's limit stays there.
struct utl_IOTrackerRecord {
  int writeCount = 0;
  double writeMB = 0;
  double writeTime = 0;
  int readCount = 0;
  double readMB = 0;
  double readTime = 0;
  // Bytes, opens and seeks are counted from level 3 on, and are 0 below it.
  std::int64_t bytesWritten = 0;
  std::int64_t bytesRead = 0;
  int opens = 0;
  int kind = 2;  ///< 0: scratch directory, 1: work directory, 2: not classified.
  std::int64_t seeks = 0;
};

/// Counts what the product's input and output code reports about its files: how often,
/// how much and for how long each was written and read. The sums go to text files, a line
/// at every code mark or at fixed intervals, and at the end comes a summary of all files.
/// docs/io-tracker.md describes these files and their names.
///
/// A process has a tracker only if its environment asks for one. Otherwise a report costs
/// one test of a pointer:
///
///     auto& holder = thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
///     ...
///     const int file = _open("model.dat", _O_WRONLY | _O_BINARY);
///     if (utl_IOTracker* const tracker = holder.Tracker()) {
///       tracker->COpen(file, "model.dat");
///       const double start = tracker->Now();
///       const int written = _write(file, data, 4096);
///       tracker->CWrite(file, written, tracker->Now() - start);
///     }
///     utl_IOTracker_Mark("model written");   // a line of totals
///
/// The environment is read when the holder is made. Each variable counts as the decimal
/// number that it begins with, and as 0 if there is none:
///
///     KES_IO_TRACK         1: totals and summary
///                          2: also increments beside the totals
///                          3 and above: bytes, opens and seeks are counted, too
///                          0 and below: there is no tracker
///     KES_IO_TIMEPOINTS    2: timed mode, a task on the process's thr_ThreadPool writes
///                             the lines
///                          anything else: mark mode, `Mark` writes them
///     KES_IO_TIMEINTERVAL  timed mode's interval in hundredths of a second; 100 for 0
///                          and below
///     KES_IO_INDIVIDUAL    above 0: a further output for every file
///
/// The command line is read then, too: the options "outdir" and "job" name the outputs,
/// and "tmpdir" is the scratch directory. The first 2048 characters of each value count.
///
/// There are two tables of the same form. Table C holds files that are reached through
/// descriptors or C streams; their keys are descriptors or the addresses of streams.
/// Table U holds files that are reached through numbered units, and the units' numbers
/// are the keys. Any number may be a key. A file is found again by its path, which is
/// compared as a text, letter for letter. The first 1023 characters of a path count; null
/// is the path "". Negative `bytes` count as 0, and so do `seconds` that are negative,
/// infinite or not a number.
///
/// Failures: nothing but std::bad_alloc is thrown. An output that cannot be opened or
/// written is silently left out.
///
/// Threads: any, at any time between the making of the tracker and its end.
///
/// On Linux the tracker belongs to the process that made it. In a child of `fork` that
/// does not start another program it counts nothing, finds no entry, writes nothing and
/// never waits: the outputs show what the parent did, once. The child may have a tracker
/// of its own after utl_finalize and utl_initialize, or if the parent had none; the
/// outputs of that replace the parent's, unless the command line or `SetSuffix` gives
/// them other names.
///
/// The order of the virtual functions is part of the interface.
class KSTUTL_EXPORT utl_IOTracker {
 public:
  virtual ~utl_IOTracker();

  /// Writes a line of totals that begins with `label`, which may hold any characters;
  /// null is the empty label. From level 2 on a line of increments with the same label
  /// and time goes to their output, and all increments are set to zero. Does nothing in
  /// timed mode, whose lines have no place for a label.
  virtual void Mark(const char* label) = 0;
  /// Writes the same lines without a label, in either mode. The task of timed mode calls
  /// it.
  virtual void TimePoint() = 0;

  // Table C.

  /// Reports that the file `path` was opened, and that `key` stands for it from now on. A
  /// file may have several keys; a key that stood for another file no longer does. A path
  /// that was seen before keeps its entry, with its counts and its kind. Any other gets a
  /// new entry, of kind 0 if the path lies below the scratch directory and of kind 1 if
  /// not. To find out, a relative path is taken from the current directory, `/` and `\`
  /// are the same, and letter case of ASCII letters is ignored.
  virtual void COpen(std::int64_t key, const char* path) = 0;
  /// Reports that the file was closed: the key no longer stands for it. The entry and its
  /// counts stay. An unknown key is ignored.
  virtual void CClose(std::int64_t key) = 0;
  /// Reports that the file has a new path. It keeps its counts and its kind. If another
  /// entry had that path, its file was replaced: it keeps counts and keys, but is no
  /// longer found by the path. An unknown key is ignored.
  virtual void CRename(std::int64_t key, const char* path) = 0;
  /// Counts one write operation of `bytes` bytes that took `seconds`. An unknown key gets
  /// an entry with the path " " and of kind 2.
  virtual void CWrite(std::int64_t key, std::int64_t bytes, double seconds) = 0;
  /// Counts one read operation in the same way.
  virtual void CRead(std::int64_t key, std::int64_t bytes, double seconds) = 0;
  /// Counts one change of position, from level 3 on; `seconds` are not counted. An
  /// unknown key is ignored.
  virtual void CSeek(std::int64_t key, double seconds) = 0;
  /// Classifies the file: 0 is scratch, 1 is work, and any other number means that it is
  /// neither, which is kind 2. What was counted moves to the sums of that kind. An
  /// unknown key is ignored.
  virtual void CSetKind(std::int64_t key, int kind) = 0;
  /// The file's kind, 0 to 2; 2 for an unknown key.
  virtual int CKind(std::int64_t key) = 0;
  /// Copies everything that was counted for the file to `record`, and returns true. An
  /// unknown key gives false, and zeros and the kind 2 in `record`.
  virtual bool CTotals(std::int64_t key, utl_IOTrackerRecord& record) = 0;
  /// The same with what was counted since a line of increments was last written.
  virtual bool CIncrements(std::int64_t key, utl_IOTrackerRecord& record) = 0;
  /// The number of the table's entries, which never decreases.
  virtual int CCount() = 0;
  /// The path of an entry; `index` counts from 0 in the order in which entries were made.
  /// "" for an index out of range. The text belongs to the tracker and lives as long as
  /// it.
  virtual const char* CPath(int index) = 0;

  // Table U, word for word the same.

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

  // Both tables.

  /// Seconds since the tracker was made, by a clock that never goes back.
  virtual double Now() = 0;
  /// The tracking level: 1, 2 or 3.
  virtual int Level() = 0;
  /// Sums the totals of both tables: for kind 0 those of the scratch files, for any other
  /// number those of all other files, classified or not. `record.kind` is 0 or 1.
  virtual void SumTotals(int kind, utl_IOTrackerRecord& record) = 0;
  /// Sums the increments in the same way.
  virtual void SumIncrements(int kind, utl_IOTrackerRecord& record) = 0;
  /// Makes the names of outputs that are opened from now on end with "_" and the first
  /// 2048 characters of `text`; null or "" ends that.
  virtual void SetSuffix(const char* text) = 0;
  /// Writes a line of increments at any level, and sets all increments to zero. The line
  /// has no label if `label` is null, and none in timed mode.
  virtual void WriteIncrements(const char* label) = 0;
  /// Flushes all lines written so far to their files. Otherwise lines are buffered for a
  /// while, and are lost if the process dies before they reach the file.
  virtual void FlushOutputs() = 0;
};

/// Holds the process's I/O tracker, if there is one. Opening a utl_File for writing makes
/// this holder at the latest, and utl_finalize ends it.
///
/// Threads: any, through thr_GlobalSingleton<utl_IOTracker_Container>::Instance(). That
/// is the same object until the end, so a reference may be kept.
class KSTUTL_EXPORT utl_IOTracker_Container {
 public:
  /// Makes the tracker if KES_IO_TRACK is above 0, and starts its timed task in timed
  /// mode. Throws std::bad_alloc. If the system gives no thread for the task, the pool's
  /// other threads run it, if it has some.
  utl_IOTracker_Container();
  /// Ends the tracker, which writes its summary. In timed mode it waits for the task,
  /// about a tenth of a second: the task finishes the current time point, or writes one
  /// more if it sleeps, and then writes "Completed TimedOutTask" and a line end to the
  /// standard error stream. A process that ends without this has no summary, and only
  /// those lines of the other outputs that have reached the files.
  /// REQUIRES: no other thread uses the tracker any more.
  ~utl_IOTracker_Container();
  utl_IOTracker_Container(const utl_IOTracker_Container&) = delete;
  utl_IOTracker_Container& operator=(const utl_IOTracker_Container&) = delete;

  /// The tracker, which belongs to this holder; null when tracking is off.
  utl_IOTracker* Tracker() const { return tracker_.get(); }

  // The rest is implementation.

 private:
  std::unique_ptr<utl_IOTracker> tracker_;
};

extern template class KSTUTL_EXPORT thr_GlobalSingleton<utl_IOTracker_Container>;

/// Writes a line at a code mark, as utl_IOTracker::Mark does. Does nothing if there is no
/// holder, which it never makes, or the holder has no tracker.
///
///     utl_IOTracker_Mark("stiffness assembled");
///
/// Threads: any, as long as nobody ends the library.
extern "C" KSTUTL_EXPORT void utl_IOTracker_Mark(const char* label);
