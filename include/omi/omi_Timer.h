// omi_Timer: a stop watch.

#pragma once

#include <chrono>

/// A stop watch in seconds, over a clock that never goes back.
///
///     omi_Timer timer;
///     timer.Start();
///     ...
///     double seconds = timer.Elapsed();   // reading does not stop it
///
/// Threads: a value of its owner; `Elapsed` may be called by many at a time.
class omi_Timer {
 public:
  /// Stops the watch and sets it to 0, as it is at first.
  void Reset() { *this = omi_Timer(); }

  /// Starts the watch or lets it go on; no effect if it runs.
  void Start() {
    if (!running_) {
      start_ = Clock::now();
      running_ = true;
    }
  }

  /// Stops the watch, which keeps its time; no effect if it is stopped.
  void Stop() {
    sum_ = Elapsed();
    running_ = false;
  }

  /// The seconds for which the watch has run since it was reset.
  double Elapsed() const {
    return running_ ? sum_ + Seconds(Clock::now() - start_).count() : sum_;
  }

  // The rest is implementation.

 private:
  using Clock = std::chrono::steady_clock;
  using Seconds = std::chrono::duration<double>;

  Clock::time_point start_{};
  double sum_ = 0;
  bool running_ = false;
};
