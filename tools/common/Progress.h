#pragma once

#include <chrono>
#include <cstdint>

#include "common/Tool.h"

/// A bar on a terminal that shows how far the work is, once it has taken a second. It is
/// wiped away at the end.
///
///     Progress progress(console, bytes);
///     ...
///     progress.Add(done);
class Progress {
 public:
  Progress(const Console& console, std::int64_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// A negative length, as a damaged file may have it, counts as 0.
  void Add(std::int64_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::ostream& out_;
  const bool isWatched_;
  const std::int64_t total_;
  std::int64_t done_ = 0;
  Clock::time_point next_;
  bool isShown_ = false;
};
