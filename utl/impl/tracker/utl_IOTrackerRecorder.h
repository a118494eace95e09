#pragma once

// The I/O tracker that a process has when it is switched on.

#include <memory>
#include <string>
#include <string_view>

#include "omi/omi_Timer.h"
#include "thr/thr_Mutex.h"
#include "utl/impl/tracker/utl_IOTracker_TimedOutTask.h"
#include "utl/impl/tracker/utl_IOTrackerIndividuals.h"
#include "utl/impl/tracker/utl_IOTrackerOutput.h"
#include "utl/impl/tracker/utl_IOTrackerScratch.h"
#include "utl/impl/tracker/utl_IOTrackerSettings.h"
#include "utl/impl/tracker/utl_IOTrackerTable.h"
#include "utl/utl_IOTracker.h"

/// Counts under one mutex, which no operation holds while it writes to a file: whoever
/// writes lines takes what they show out of the tables first. The files have a mutex of
/// their own, taken before the other one, so that lines stand in the order of their
/// times.
class utl_IOTrackerRecorder final : public utl_IOTracker {
 public:
  /// REQUIRES: the level is above 0.
  explicit utl_IOTrackerRecorder(utl_IOTrackerSettings settings);
  /// Writes the summary, and waits for the timed task.
  ~utl_IOTrackerRecorder() override;

  void Mark(const char* label) override;
  void TimePoint() override;

  void COpen(std::int64_t key, const char* path) override;
  void CClose(std::int64_t key) override;
  void CRename(std::int64_t key, const char* path) override;
  void CWrite(std::int64_t key, std::int64_t bytes, double seconds) override;
  void CRead(std::int64_t key, std::int64_t bytes, double seconds) override;
  void CSeek(std::int64_t key, double seconds) override;
  void CSetKind(std::int64_t key, int kind) override;
  int CKind(std::int64_t key) override;
  bool CTotals(std::int64_t key, utl_IOTrackerRecord& record) override;
  bool CIncrements(std::int64_t key, utl_IOTrackerRecord& record) override;
  int CCount() override;
  const char* CPath(int index) override;

  void UOpen(std::int64_t key, const char* path) override;
  void UClose(std::int64_t key) override;
  void URename(std::int64_t key, const char* path) override;
  void UWrite(std::int64_t key, std::int64_t bytes, double seconds) override;
  void URead(std::int64_t key, std::int64_t bytes, double seconds) override;
  void USeek(std::int64_t key, double seconds) override;
  void USetKind(std::int64_t key, int kind) override;
  int UKind(std::int64_t key) override;
  bool UTotals(std::int64_t key, utl_IOTrackerRecord& record) override;
  bool UIncrements(std::int64_t key, utl_IOTrackerRecord& record) override;
  int UCount() override;
  const char* UPath(int index) override;

  double Now() override;
  int Level() override;
  void SumTotals(int kind, utl_IOTrackerRecord& record) override;
  void SumIncrements(int kind, utl_IOTrackerRecord& record) override;
  void SetSuffix(const char* text) override;
  void WriteIncrements(const char* label) override;
  void FlushOutputs() override;

 private:
  using Table = utl_IOTrackerTable;

  // The operations that both tables have.
  void Open(Table& table, std::int64_t key, const char* path);
  void Rename(Table& table, std::int64_t key, const char* path);
  bool Copy(const Table& table, std::int64_t key,
            utl_IOTrackerRecord Table::Entry::*which, utl_IOTrackerRecord& record);
  const char* Path(const Table& table, int index);

  // REQUIRES: `outputs_` is held.
  void WritePoint(const char* label);
  void WriteSums(utl_IOTrackerOutput& output, std::string_view kind,
                 const utl_IOTrackerSums& sums, std::string_view start, double now);
  std::string Head(std::string_view columns) const;

  // REQUIRES: `counts_` is held.
  utl_IOTrackerSums Totals() const;
  utl_IOTrackerSums Increments() const;
  utl_IOTrackerSums TakeIncrements();
  template <class Visit>
  void ForEachEntry(Visit visit);

  void StartTask();
  void RequestStop();
  void EndTask();
  void WriteSummary();

  omi_Timer timer_;
  utl_IOTrackerSettings settings_;
  const utl_IOTrackerScratch scratch_;

  thr_Mutex counts_;   // guards the tables and the request to stop
  thr_Mutex outputs_;  // guards the outputs and the settings' suffix; locked first

  // The tables go before the outputs, of which those of one file go first.
  utl_IOTrackerOutput totals_;
  utl_IOTrackerOutput increments_;
  utl_IOTrackerIndividuals individuals_;
  Table c_;
  Table u_;

  std::shared_ptr<utl_IOTrackerTaskState> task_;  // null unless timed
};
