#pragma once

// The task that has the tracker write its time points.

#include <atomic>
#include <cstdint>
#include <memory>

#include "thr/thr_ThreadPool.h"
#include "utl/utl_IOTracker.h"

/// The state that the task and its tracker share. It outlives both.
///
/// Threads: the task's and the one that ends the tracker.
class utl_IOTrackerTaskState {
 public:
  // For the task.
  /// Whether the task may work; a task that was withdrawn must not.
  bool Begin();
  bool StopRequested() const { return stop_.load(std::memory_order_acquire); }
  void Finish() { finished_.store(true, std::memory_order_release); }

  // For the tracker.
  void RequestStop() { stop_.store(true, std::memory_order_release); }
  /// Keeps a task that has not begun from ever beginning; false if it has begun.
  bool Withdraw();
  bool Finished() const { return finished_.load(std::memory_order_acquire); }

 private:
  std::atomic<bool> taken_ = false;  // by the task or by its withdrawal
  std::atomic<bool> stop_ = false;
  std::atomic<bool> finished_ = false;
};

/// Until the tracker asks it to stop: sleeps the interval and has the tracker write a
/// time point. It sleeps in short pieces, so that it soon notices a stop; it then writes
/// one more time point. At its end it says so on the standard error stream.
class utl_IOTracker_TimedOutTask : public thr_Task {
 public:
  /// `interval` is in milliseconds, above 0.
  utl_IOTracker_TimedOutTask(utl_IOTracker& tracker, std::int64_t interval,
                             std::shared_ptr<utl_IOTrackerTaskState> state);

  void Run() override;

  /// What a task says at its end.
  static void SayCompleted();

 private:
  void SleepInterval() const;
  void WriteTimePoint() const;

  utl_IOTracker& tracker_;
  std::int64_t interval_;
  std::shared_ptr<utl_IOTrackerTaskState> state_;
};
