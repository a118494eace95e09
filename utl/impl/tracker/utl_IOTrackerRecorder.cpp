#include "utl/impl/tracker/utl_IOTrackerRecorder.h"

#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "thr/thr_threadsAreGone.h"
#include "utl/impl/tracker/utl_IOTrackerLines.h"
#include "utl/utl_hostInfo.h"

namespace {

constexpr unsigned kPollInterval = 100;  // milliseconds

}  // namespace

utl_IOTrackerRecorder::utl_IOTrackerRecorder(utl_IOTrackerSettings settings)
    : settings_(std::move(settings)),
      scratch_(settings_.scratchDirectory.value_or("")),
      c_(counts_, scratch_, settings_.level >= kDetailedLevel),
      u_(counts_, scratch_, settings_.level >= kDetailedLevel) {
  timer_.Start();
  if (settings_.timed) {
    StartTask();
  }
}

utl_IOTrackerRecorder::~utl_IOTrackerRecorder() {
  if (!counts_.IsOwn()) {
    return;  // files and task belong to the parent process
  }
  if (task_) {
    RequestStop();
  }
  try {
    WriteSummary();
  } catch (const std::bad_alloc&) {
    // The summary lacks its end, and nobody can be told any more.
  }
  if (task_) {
    EndTask();
  }
}

void utl_IOTrackerRecorder::StartTask() {
  auto& pool = thr_GlobalSingleton<thr_ThreadPool>::Instance();
  try {
    pool.AddThreads(1, 1);
  } catch (const std::system_error&) {
    // No new thread: another thread of the pool runs the task, if there is one.
  }
  task_ = std::make_shared<utl_IOTrackerTaskState>();
  pool.RunTask(
      std::make_unique<utl_IOTracker_TimedOutTask>(*this, settings_.interval, task_));
}

// If the mutex cannot be locked, its holder is gone and so is the task.
void utl_IOTrackerRecorder::RequestStop() {
  if (const Hold counts = Hold::AtEnd(counts_)) {
    task_->RequestStop();
  }
}

// Waits for the task, unless it has not begun or its thread is gone: it would never end.
void utl_IOTrackerRecorder::EndTask() {
  if (task_->Withdraw()) {
    utl_IOTracker_TimedOutTask::SayCompleted();
    return;
  }
  while (!task_->Finished() && !thr_threadsAreGone()) {
    utl_sleep(kPollInterval);
  }
}

void utl_IOTrackerRecorder::Mark(const char* label) {
  if (!settings_.timed) {
    WritePoint(label == nullptr ? "" : label);
  }
}

void utl_IOTrackerRecorder::TimePoint() {
  WritePoint(nullptr);
}

void utl_IOTrackerRecorder::WritePoint(const char* label) {
  const Hold outputs(outputs_);
  if (!outputs) {
    return;
  }
  const bool writesIncrements = settings_.level >= kIncrementsLevel;
  utl_IOTrackerSums totals, increments;
  if (const Hold counts{counts_}) {
    totals = Sums(kTotals);
    if (settings_.individual) {
      individuals_.Take(c_, u_);
    }
    if (writesIncrements) {
      increments = TakeIncrements();  // once nothing here can fail
    }
  }
  const double now = timer_.Elapsed();
  const std::string start = utl_trackerLineStart(label, now);
  WriteSums(totals_, "ioTotal", totals, start, now);
  if (writesIncrements) {
    WriteSums(increments_, "ioInc", increments, start, now);
  }
  if (settings_.individual) {
    individuals_.WriteLines(settings_, start, now);
  }
}

void utl_IOTrackerRecorder::WriteIncrements(const char* label) {
  const Hold outputs(outputs_);
  if (!outputs) {
    return;
  }
  utl_IOTrackerSums sums;
  if (const Hold counts{counts_}) {
    sums = TakeIncrements();
  }
  const double now = timer_.Elapsed();
  const std::string start = utl_trackerLineStart(settings_.timed ? nullptr : label, now);
  WriteSums(increments_, "ioInc", sums, start, now);
}

void utl_IOTrackerRecorder::WriteSums(utl_IOTrackerOutput& output, std::string_view kind,
                                      const utl_IOTrackerSums& sums,
                                      std::string_view start, double now) {
  if (output.IsNew()) {
    output.Open(settings_.OutputName(kind),
                utl_trackerHead(!settings_.timed, kTrackerSumColumns));
  }
  utl_LineText line;
  line.Text(start);
  utl_addTrackerColumns(line, sums.work);
  utl_addTrackerColumns(line, sums.scratch);
  output.WriteLine(line.Text("\n"), now);
}

void utl_IOTrackerRecorder::WriteSummary() {
  const Hold outputs = Hold::AtEnd(outputs_);
  const Hold counts = Hold::AtEnd(counts_);
  if (!outputs || !counts) {
    return;
  }
  utl_IOTrackerOutput summary;
  const auto writeFiles = [&](int kind) {
    for (const utl_IOTrackerTable* table : {&c_, &u_}) {
      table->ForEach([&](const utl_IOTrackerEntry& entry) {
        if (entry.kind == kind) {
          summary.Write(utl_trackerSummaryLine(entry.path, entry.Record(kTotals)));
        }
      });
    }
  };
  summary.Open(settings_.OutputName("ioFileSummary"),
               "IO Summary for All Files\n\nWORK DIRECTORY FILES\n");
  writeFiles(kWorkFile);
  summary.Write("\n\nSCRATCH DIRECTORY FILES\n");
  writeFiles(kScratchFile);
  summary.Write("\n");
}

void utl_IOTrackerRecorder::SetSuffix(const char* text) {
  if (const Hold outputs{outputs_}) {
    settings_.suffix = utl_cutText(text, kTrackerSettingSize);
  }
}

void utl_IOTrackerRecorder::FlushOutputs() {
  if (const Hold outputs{outputs_}) {
    totals_.Flush();
    increments_.Flush();
    individuals_.Flush();
  }
}

utl_IOTrackerRecord utl_IOTrackerRecorder::SumOf(int kind, utl_IOTrackerSpan span) {
  const Hold counts(counts_);
  const utl_IOTrackerSums sums = counts ? Sums(span) : utl_IOTrackerSums();
  return kind == kScratchFile ? sums.scratch : sums.work;
}

utl_IOTrackerSums utl_IOTrackerRecorder::Sums(utl_IOTrackerSpan span) const {
  utl_IOTrackerSums sums;
  c_.AddTo(sums, span);
  u_.AddTo(sums, span);
  return sums;
}

// Returns the sums and starts counting again from zero.
utl_IOTrackerSums utl_IOTrackerRecorder::TakeIncrements() {
  const utl_IOTrackerSums sums = Sums(kIncrements);
  c_.ClearIncrements();
  u_.ClearIncrements();
  return sums;
}
