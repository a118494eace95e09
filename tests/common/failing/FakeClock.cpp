#include "common/failing/FakeClock.h"

#include <time.h>

#include <atomic>

namespace {

using Clock = std::chrono::steady_clock;

// Any thread may ask.
std::atomic<bool> standsStill = false;
std::atomic<Clock::time_point> shown;

}  // namespace

FakeClock::FakeClock() {
  shown = Clock::now();
  standsStill = true;
}

FakeClock::~FakeClock() {
  standsStill = false;
}

void FakeClock::Advance(Clock::duration time) {
  shown = shown.load() + time;
}

// Comes before the run time's own, which asks the same of the system.
Clock::time_point Clock::now() noexcept {
  if (standsStill) {
    return shown;
  }
  timespec read = {};
  clock_gettime(CLOCK_MONOTONIC, &read);
  return time_point(std::chrono::seconds(read.tv_sec) +
                    std::chrono::nanoseconds(read.tv_nsec));
}
