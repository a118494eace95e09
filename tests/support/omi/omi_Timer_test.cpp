#include "omi/omi_Timer.h"

#include <gtest/gtest.h>

namespace {

// Waits on the timer itself, so that no sleep decides.
void RunUntilItShowsTime(const omi_Timer& timer) {
  const double start = timer.Elapsed();
  while (timer.Elapsed() <= start) {
  }
}

TEST(OmiTimerTest, StandsAtZeroAtFirst) {
  const omi_Timer timer;
  EXPECT_EQ(timer.Elapsed(), 0.0);
}

TEST(OmiTimerTest, NeverGoesBackWhileItRuns) {
  omi_Timer timer;
  timer.Start();
  double last = 0;
  for (int i = 0; i < 1000; ++i) {
    const double now = timer.Elapsed();
    EXPECT_GE(now, last);
    last = now;
  }
}

TEST(OmiTimerTest, StopKeepsTheTime) {
  omi_Timer timer;
  timer.Start();
  RunUntilItShowsTime(timer);
  timer.Stop();
  const double stopped = timer.Elapsed();
  EXPECT_GT(stopped, 0.0);
  EXPECT_EQ(timer.Elapsed(), stopped);
  timer.Stop();
  EXPECT_EQ(timer.Elapsed(), stopped);
}

TEST(OmiTimerTest, StartAfterStopRunsOn) {
  omi_Timer timer;
  timer.Start();
  RunUntilItShowsTime(timer);
  timer.Stop();
  const double stopped = timer.Elapsed();
  timer.Start();
  RunUntilItShowsTime(timer);
  EXPECT_GT(timer.Elapsed(), stopped);
}

TEST(OmiTimerTest, StartOfARunningTimerChangesNothing) {
  omi_Timer timer;
  timer.Start();
  RunUntilItShowsTime(timer);
  const double before = timer.Elapsed();
  timer.Start();
  EXPECT_GE(timer.Elapsed(), before);
}

TEST(OmiTimerTest, ResetStopsAtZero) {
  omi_Timer timer;
  timer.Start();
  RunUntilItShowsTime(timer);
  timer.Reset();
  EXPECT_EQ(timer.Elapsed(), 0.0);
}

// A unit other than seconds would be off by a factor of a thousand or more.
TEST(OmiTimerTest, CountsSeconds) {
  using Clock = std::chrono::steady_clock;
  omi_Timer timer;
  const Clock::time_point outerStart = Clock::now();
  timer.Start();
  const Clock::time_point innerStart = Clock::now();
  RunUntilItShowsTime(timer);
  const Clock::time_point innerEnd = Clock::now();
  timer.Stop();
  const Clock::time_point outerEnd = Clock::now();
  EXPECT_GE(timer.Elapsed(),
            std::chrono::duration<double>(innerEnd - innerStart).count());
  EXPECT_LE(timer.Elapsed(),
            std::chrono::duration<double>(outerEnd - outerStart).count());
}

}  // namespace
