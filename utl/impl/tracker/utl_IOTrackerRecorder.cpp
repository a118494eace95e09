#include "utl/impl/tracker/utl_IOTrackerRecorder.h"

#include <mutex>
#include <new>
#include <system_error>
#include <utility>

#include "thr/thr_threadsAreGone.h"
#include "utl/utl_hostInfo.h"

namespace {

constexpr std::size_t kMostOfPath = 1023;
constexpr unsigned kPollInterval = 100;  // milliseconds

constexpr char kSumColumns[] =
    ", Work Write Count, Work Write MB, Work Write Time"
    ", Work Read Count, Work Read MB, Work Read Time"
    ", Scratch Write Count, Scratch Write MB, Scratch Write Time"
    ", Scratch Read Count, Scratch Read MB, Scratch Read Time";
constexpr char kFileColumns[] =
    ", Write Count, Write MB, Write Time, Read Count, Read MB, Read Time";

using Guard = std::lock_guard<thr_Mutex>;

// What stands before the columns of a line; a null label has no column.
std::string LineStart(const char* label, double now) {
  utl_IOTrackerText start;
  if (label != nullptr) start.Text(label).Text(", ");
  return std::string(start.Number(now));
}

// A thread that is gone may have held the mutex: false.
bool LockAtEnd(std::unique_lock<thr_Mutex>& lock) {
  if (thr_threadsAreGone()) return lock.try_lock();
  lock.lock();
  return true;
}

}  // namespace

utl_IOTrackerRecorder::utl_IOTrackerRecorder(utl_IOTrackerSettings settings)
    : settings_(std::move(settings)),
      scratch_(settings_.scratchDirectory.value_or("")),
      c_(settings_.level >= utl_kDetailedLevel),
      u_(settings_.level >= utl_kDetailedLevel) {
  timer_.Start();
  if (settings_.timed) StartTask();
}

utl_IOTrackerRecorder::~utl_IOTrackerRecorder() {
  if (task_) RequestStop();
  try {
    WriteSummary();
  } catch (const std::bad_alloc&) {
    // The summary lacks its end, and nobody is left to be told.
  }
  if (task_) EndTask();
}

void utl_IOTrackerRecorder::StartTask() {
  auto& pool = thr_GlobalSingleton<thr_ThreadPool>::Instance();
  try {
    pool.AddThreads(1, 1);
  } catch (const std::system_error&) {
    // The task waits for another thread of the pool, if there is one.
  }
  task_ = std::make_shared<utl_IOTrackerTaskState>();
  pool.RunTask(
      std::make_unique<utl_IOTracker_TimedOutTask>(*this, settings_.interval, task_));
}

// Under the mutex as far as it can be had: a task that is gone needs no telling.
void utl_IOTrackerRecorder::RequestStop() {
  std::unique_lock<thr_Mutex> counts(counts_, std::defer_lock);
  if (LockAtEnd(counts)) task_->RequestStop();
}

// Waits for the task. One that has not begun, or whose thread is gone, never will end.
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
  if (settings_.timed) return;
  const Guard guard(outputs_);
  WritePoint(label == nullptr ? "" : label);
}

void utl_IOTrackerRecorder::TimePoint() {
  const Guard guard(outputs_);
  WritePoint(nullptr);
}

void utl_IOTrackerRecorder::WriteIncrements(const char* label) {
  const Guard guard(outputs_);
  utl_IOTrackerSums sums;
  {
    const Guard counts(counts_);
    sums = TakeIncrements();
  }
  const double now = timer_.Elapsed();
  WriteSums(increments_, "ioInc", sums, LineStart(settings_.timed ? nullptr : label, now),
            now);
}

void utl_IOTrackerRecorder::WritePoint(const char* label) {
  const bool writesIncrements = settings_.level >= utl_kIncrementsLevel;
  utl_IOTrackerSums totals, increments;
  {
    const Guard counts(counts_);
    totals = Totals();
    if (settings_.individual) {
      ForEachEntry([this](Table::Entry& entry) { individuals_.Take(entry); });
    }
    if (writesIncrements) increments = TakeIncrements();  // once nothing here can fail
  }
  const double now = timer_.Elapsed();
  const std::string start = LineStart(label, now);
  WriteSums(totals_, "ioTotal", totals, start, now);
  if (writesIncrements) WriteSums(increments_, "ioInc", increments, start, now);
  if (settings_.individual) {
    individuals_.WriteLines(settings_, Head(kFileColumns), start, now);
  }
}

void utl_IOTrackerRecorder::WriteSums(utl_IOTrackerOutput& output, std::string_view kind,
                                      const utl_IOTrackerSums& sums,
                                      std::string_view start, double now) {
  output.Open(settings_.OutputName(kind), Head(kSumColumns));
  utl_IOTrackerText line;
  line.Text(start);
  utl_addColumns(line, sums.work);
  utl_addColumns(line, sums.scratch);
  output.WriteLine(line.Text("\n"), now);
}

// Of every output, the increments' included.
std::string utl_IOTrackerRecorder::Head(std::string_view columns) const {
  std::string head = "IO Tracking Totals\n";
  head += settings_.timed ? "Elapsed Time" : "Code Mark, Elapsed Time";
  return (head += columns) += '\n';
}

void utl_IOTrackerRecorder::WriteSummary() {
  std::unique_lock<thr_Mutex> outputs(outputs_, std::defer_lock);
  std::unique_lock<thr_Mutex> counts(counts_, std::defer_lock);
  if (!LockAtEnd(outputs) || !LockAtEnd(counts)) return;
  utl_IOTrackerOutput summary;
  const auto writeFiles = [&](int kind) {
    ForEachEntry([&](const Table::Entry& entry) {
      const utl_IOTrackerRecord& sum = entry.totals;
      if (sum.kind != kind) return;
      utl_IOTrackerText line;
      line.Text(entry.path).Column(sum.writeMB).Column(sum.writeTime);
      summary.Write(line.Column(sum.readMB).Column(sum.readTime).Text("\n"));
    });
  };
  summary.Open(settings_.OutputName("ioFileSummary"),
               "IO Summary for All Files\n\nWORK DIRECTORY FILES\n");
  writeFiles(utl_kWorkFile);
  summary.Write("\n\nSCRATCH DIRECTORY FILES\n");
  writeFiles(utl_kScratchFile);
  summary.Write("\n");
}

void utl_IOTrackerRecorder::SetSuffix(const char* text) {
  const Guard guard(outputs_);
  settings_.suffix = utl_cutText(text, utl_kTrackerSettingSize);
}

void utl_IOTrackerRecorder::FlushOutputs() {
  const Guard guard(outputs_);
  totals_.Flush();
  increments_.Flush();
  individuals_.Flush();
}

double utl_IOTrackerRecorder::Now() {
  return timer_.Elapsed();
}

int utl_IOTrackerRecorder::Level() {
  return settings_.level;
}

void utl_IOTrackerRecorder::SumTotals(int kind, utl_IOTrackerRecord& record) {
  const Guard guard(counts_);
  const utl_IOTrackerSums sums = Totals();
  record = kind == utl_kScratchFile ? sums.scratch : sums.work;
}

void utl_IOTrackerRecorder::SumIncrements(int kind, utl_IOTrackerRecord& record) {
  const Guard guard(counts_);
  const utl_IOTrackerSums sums = Increments();
  record = kind == utl_kScratchFile ? sums.scratch : sums.work;
}

utl_IOTrackerSums utl_IOTrackerRecorder::Totals() const {
  utl_IOTrackerSums sums;
  utl_addTotals(c_, sums);
  utl_addTotals(u_, sums);
  return sums;
}

utl_IOTrackerSums utl_IOTrackerRecorder::Increments() const {
  utl_IOTrackerSums sums;
  utl_addIncrements(c_, sums);
  utl_addIncrements(u_, sums);
  return sums;
}

// The sums; counting begins anew.
utl_IOTrackerSums utl_IOTrackerRecorder::TakeIncrements() {
  const utl_IOTrackerSums sums = Increments();
  ForEachEntry([](Table::Entry& entry) {
    entry.increments = {};
    entry.increments.kind = entry.totals.kind;
  });
  return sums;
}

template <class Visit>
void utl_IOTrackerRecorder::ForEachEntry(Visit visit) {
  for (const Table* table : {&c_, &u_}) {
    for (int i = 0; i < table->Count(); ++i) visit(table->At(i));
  }
}

void utl_IOTrackerRecorder::Open(Table& table, std::int64_t key, const char* path) {
  const int kind =
      scratch_.Holds(path == nullptr ? "" : path) ? utl_kScratchFile : utl_kWorkFile;
  const Guard guard(counts_);
  table.Open(key, utl_cutText(path, kMostOfPath), kind);
}

void utl_IOTrackerRecorder::Rename(Table& table, std::int64_t key, const char* path) {
  const Guard guard(counts_);
  table.Rename(key, utl_cutText(path, kMostOfPath));
}

bool utl_IOTrackerRecorder::Copy(const Table& table, std::int64_t key,
                                 utl_IOTrackerRecord Table::Entry::*which,
                                 utl_IOTrackerRecord& record) {
  const Guard guard(counts_);
  const Table::Entry* const entry = table.Find(key);
  record = entry == nullptr ? utl_IOTrackerRecord() : entry->*which;
  return entry != nullptr;
}

const char* utl_IOTrackerRecorder::Path(const Table& table, int index) {
  const Guard guard(counts_);
  return index >= 0 && index < table.Count() ? table.At(index).path : "";
}
