#include "utl/impl/tracker/utl_IOTracker_TimedOutTask.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>
#include <utility>

#include "omi/omi_Timer.h"
#include "utl/utl_hostInfo.h"

namespace {

constexpr double kLongestSleep = 100;  // milliseconds

}  // namespace

bool utl_IOTrackerTaskState::Begin() {
  return !taken_.exchange(true, std::memory_order_acq_rel);
}

bool utl_IOTrackerTaskState::Withdraw() {
  return !taken_.exchange(true, std::memory_order_acq_rel);
}

utl_IOTracker_TimedOutTask::utl_IOTracker_TimedOutTask(
    utl_IOTracker& tracker, std::int64_t interval,
    std::shared_ptr<utl_IOTrackerTaskState> state)
    : tracker_(tracker), interval_(interval), state_(std::move(state)) {}

// The tracker may be gone as soon as the state says that the task has finished.
void utl_IOTracker_TimedOutTask::Run() {
  if (!state_->Begin()) {
    return;
  }
  while (!state_->StopRequested()) {
    SleepInterval();
    WriteTimePoint();
  }
  SayCompleted();
  state_->Finish();
}

void utl_IOTracker_TimedOutTask::SayCompleted() {
  std::fputs("Completed TimedOutTask\n", stderr);
  std::fflush(stderr);
}

// Goes by the clock, since every piece may last longer than requested.
void utl_IOTracker_TimedOutTask::SleepInterval() const {
  omi_Timer slept;
  slept.Start();
  while (!state_->StopRequested()) {
    const double left =
        std::ceil(static_cast<double>(interval_) - slept.Elapsed() * 1000);
    if (left <= 0) {
      return;
    }
    utl_sleep(static_cast<unsigned>(std::min(left, kLongestSleep)));
  }
}

void utl_IOTracker_TimedOutTask::WriteTimePoint() const {
  try {
    tracker_.TimePoint();
  } catch (const std::bad_alloc&) {
    // The lines of this time point are lost; the next one may find memory again.
  }
}
