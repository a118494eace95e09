#pragma once

// The I/O tracker of a process that has it switched on.

#include <memory>
#include <string_view>

#include "omi/omi_Timer.h"
#include "utl/impl/tracker/utl_IOTracker_TimedOutTask.h"
#include "utl/impl/tracker/utl_IOTrackerIndividuals.h"
#include "utl/impl/tracker/utl_IOTrackerMutex.h"
#include "utl/impl/tracker/utl_IOTrackerOutput.h"
#include "utl/impl/tracker/utl_IOTrackerScratch.h"
#include "utl/impl/tracker/utl_IOTrackerSettings.h"
#include "utl/impl/tracker/utl_IOTrackerTable.h"
#include "utl/utl_IOTracker.h"

/// Counts under one mutex, which no operation holds while it writes to a file: what lines
/// show is copied from the tables first. The files have a mutex of their own, locked
/// before the other one, so that lines are in the order of their times.
class utl_IOTrackerRecorder final : public utl_IOTracker {
  using Key = std::int64_t;
  using Record = utl_IOTrackerRecord;

 public:
  /// REQUIRES: the level is above 0.
  explicit utl_IOTrackerRecorder(utl_IOTrackerSettings settings);
  /// Writes the summary, and waits for the timed task.
  ~utl_IOTrackerRecorder() override;

  void Mark(const char* label) override;
  void TimePoint() override;

  // The operations of each table, which do all the work themselves.
  void COpen(Key key, const char* path) override { c_.Open(key, path); }
  void CClose(Key key) override { c_.Close(key); }
  void CRename(Key key, const char* path) override { c_.Rename(key, path); }
  void CWrite(Key key, std::int64_t bytes, double s) override { c_.Write(key, bytes, s); }
  void CRead(Key key, std::int64_t bytes, double s) override { c_.Read(key, bytes, s); }
  void CSeek(Key key, double /*seconds*/) override { c_.Seek(key); }
  void CSetKind(Key key, int kind) override { c_.SetKind(key, kind); }
  int CKind(Key key) override { return c_.Kind(key); }
  bool CTotals(Key key, Record& to) override { return c_.Copy(key, kTotals, to); }
  bool CIncrements(Key key, Record& to) override { return c_.Copy(key, kIncrements, to); }
  int CCount() override { return c_.Count(); }
  const char* CPath(int index) override { return c_.Path(index); }

  void UOpen(Key key, const char* path) override { u_.Open(key, path); }
  void UClose(Key key) override { u_.Close(key); }
  void URename(Key key, const char* path) override { u_.Rename(key, path); }
  void UWrite(Key key, std::int64_t bytes, double s) override { u_.Write(key, bytes, s); }
  void URead(Key key, std::int64_t bytes, double s) override { u_.Read(key, bytes, s); }
  void USeek(Key key, double /*seconds*/) override { u_.Seek(key); }
  void USetKind(Key key, int kind) override { u_.SetKind(key, kind); }
  int UKind(Key key) override { return u_.Kind(key); }
  bool UTotals(Key key, Record& to) override { return u_.Copy(key, kTotals, to); }
  bool UIncrements(Key key, Record& to) override { return u_.Copy(key, kIncrements, to); }
  int UCount() override { return u_.Count(); }
  const char* UPath(int index) override { return u_.Path(index); }

  double Now() override { return timer_.Elapsed(); }
  int Level() override { return settings_.level; }
  void SumTotals(int kind, Record& to) override { to = SumOf(kind, kTotals); }
  void SumIncrements(int kind, Record& to) override { to = SumOf(kind, kIncrements); }
  void SetSuffix(const char* text) override;
  void WriteIncrements(const char* label) override;
  void FlushOutputs() override;

 private:
  using Hold = utl_IOTrackerMutex::Hold;

  void WritePoint(const char* label);
  // REQUIRES: `outputs_` is held.
  void WriteSums(utl_IOTrackerOutput& output, std::string_view kind,
                 const utl_IOTrackerSums& sums, std::string_view start, double now);

  Record SumOf(int kind, utl_IOTrackerSpan span);
  // REQUIRES: `counts_` is held.
  utl_IOTrackerSums Sums(utl_IOTrackerSpan span) const;
  utl_IOTrackerSums TakeIncrements();

  void StartTask();
  void RequestStop();
  void EndTask();
  void WriteSummary();

  omi_Timer timer_;
  utl_IOTrackerSettings settings_;
  const utl_IOTrackerScratch scratch_;

  utl_IOTrackerMutex counts_;   // guards the tables and the request to stop
  utl_IOTrackerMutex outputs_;  // guards the outputs and the suffix; locked first

  // Destroyed from the last to the first: the tables before the outputs.
  utl_IOTrackerOutput totals_;
  utl_IOTrackerOutput increments_;
  utl_IOTrackerIndividuals individuals_;
  utl_IOTrackerTable c_;
  utl_IOTrackerTable u_;

  std::shared_ptr<utl_IOTrackerTaskState> task_;  // null unless timed
};
