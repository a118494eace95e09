#pragma once

#include <chrono>

/// While it lives, std::chrono::steady_clock, by which the library's timers go, stands
/// still unless the test moves it. One object at a time.
///
///     FakeClock clock;
///     clock.Advance(std::chrono::seconds(11));
class FakeClock {
 public:
  FakeClock();
  ~FakeClock();
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  void Advance(std::chrono::steady_clock::duration time);
};
