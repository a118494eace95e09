// Timers and their summary.

#include <climits>

#include "common/failing/FailingCall.h"
#include "common/failing/FakeProcess.h"
#include "utl/ResourceMonitorTest.h"

namespace {

/// Times chosen by the test: none has passed unless `Pass` says so.
class ResourceMonitorTimerTest : public ResourceMonitorOnTest {
 protected:
  ResourceMonitorTimerTest() {
    process_.SetTime(12, 0, 0, 0);
    Monitor().Initialize("beam");
  }

  void Pass(ULONGLONG userMilliseconds, ULONGLONG kernelMilliseconds,
            int wallMilliseconds) {
    process_.user += userMilliseconds * 10'000;
    process_.kernel += kernelMilliseconds * 10'000;
    wall_ += wallMilliseconds;
    process_.SetTime(12, wall_ / 60'000, wall_ / 1000 % 60, wall_ % 1000);
  }

  /// The summary's lines without that of timer 20.
  static std::vector<UseTimer> Timers() {
    std::vector<UseTimer> timers = FinishedLog().timers;
    EXPECT_EQ(timers.back().id, 20);
    timers.pop_back();
    return timers;
  }

  FakeProcess process_;
  int wall_ = 0;
};

TEST_F(ResourceMonitorTimerTest, AddsUpItsIntervals) {
  Pass(7000, 7000, 7000);
  Monitor().StartTimer(4, "solve");
  Pass(1000, 250, 2000);
  Monitor().StopTimer(4);
  Pass(5000, 5000, 5000);
  Monitor().StartTimer(4, cow_String("solve"));
  Pass(500, 0, 1100);
  Monitor().StopTimer(4);
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].id, 4);
  EXPECT_EQ(timers[0].name, "solve");
  EXPECT_EQ(timers[0].calls, 2);
  EXPECT_DOUBLE_EQ(timers[0].processor, 1.75);
  EXPECT_DOUBLE_EQ(timers[0].processorPerCall, 0.875);
  EXPECT_DOUBLE_EQ(timers[0].elapsed, 3.1);
}

TEST_F(ResourceMonitorTimerTest, AddsUpMilliseconds) {
  for (int i = 0; i < 1000; ++i) {
    Monitor().StartTimer(0, "short");
    Pass(1, 1, 1);
    Monitor().StopTimer(0);
  }
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].calls, 1000);
  EXPECT_EQ(timers[0].processorPerCall, 0.002);
  EXPECT_EQ(timers[0].processor, 2);
  EXPECT_EQ(timers[0].elapsed, 1);
}

TEST_F(ResourceMonitorTimerTest, WallTimeHasMilliseconds) {
  for (int i = 0; i < 100; ++i) {
    process_.SetTime(13, 0, 0, 0);
    Monitor().StartTimer(0, "timer");
    process_.SetTime(13, 0, 0, 999);
    Monitor().StopTimer(0);
  }
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].elapsed, 99.9);
}

TEST_F(ResourceMonitorTimerTest, TheFirstStartNamesIt) {
  Monitor().StartTimer(0, "first");
  Monitor().StopTimer(0);
  Monitor().StartTimer(0, "second");
  Monitor().StopTimer(0);
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].name, "first");
  EXPECT_EQ(timers[0].calls, 2);
}

TEST_F(ResourceMonitorTimerTest, StartedAgainItMeasuresFromTheLastStart) {
  Monitor().StartTimer(0, "timer");
  Pass(1000, 0, 1000);
  Monitor().StartTimer(0, "timer");
  Pass(2000, 0, 2000);
  Monitor().StartTimer(0, "timer");
  Pass(4000, 0, 4000);
  Monitor().StopTimer(0);
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].calls, 1);
  EXPECT_EQ(timers[0].processor, 4);
  EXPECT_EQ(timers[0].elapsed, 4);
}

TEST_F(ResourceMonitorTimerTest, StoppedAgainItMeasuresFromTheSameStart) {
  Monitor().StartTimer(0, "timer");
  Pass(1000, 0, 1000);
  Monitor().StopTimer(0);
  Pass(2000, 0, 2000);
  Monitor().StopTimer(0);
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].calls, 2);
  EXPECT_EQ(timers[0].processor, 4);
  EXPECT_EQ(timers[0].elapsed, 4);
}

TEST_F(ResourceMonitorTimerTest, StoppedButNeverStartedItIsNotListed) {
  Monitor().StopTimer(5);
  EXPECT_TRUE(Timers().empty());
}

TEST_F(ResourceMonitorTimerTest, TheFirstStartForgetsEarlierStops) {
  Pass(9000, 9000, 9000);
  Monitor().StopTimer(5);
  Monitor().StopTimer(5);
  Monitor().StartTimer(5, "late");
  Pass(1000, 0, 1000);
  Monitor().StopTimer(5);
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].calls, 1);
  EXPECT_EQ(timers[0].processor, 1);
  EXPECT_EQ(timers[0].elapsed, 1);
}

TEST_F(ResourceMonitorTimerTest, StartedButNeverStoppedItIsNotListed) {
  Monitor().StartTimer(5, "open");
  EXPECT_TRUE(Timers().empty());
}

TEST_F(ResourceMonitorTimerTest, NumbersOutsideTheTimersAreIgnored) {
  for (int id : {-1, -20, 21, 22, 1000, 0x10000, INT_MAX, INT_MIN}) {
    const int asked = process_.Calls();
    Monitor().StartTimer(id, "none");
    Monitor().StopTimer(id);
    EXPECT_EQ(process_.Calls(), asked) << id;
  }
  EXPECT_TRUE(Timers().empty());
}

TEST_F(ResourceMonitorTimerTest, AllTimersAreListedInTheOrderOfTheirNumbers) {
  for (int id = 19; id >= 0; --id) {
    Monitor().StartTimer(id, ("timer " + std::to_string(id)).c_str());
    Pass(1000, 0, 1000);
    Monitor().StopTimer(id);
  }
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 20u);
  for (int id = 0; id < 20; ++id) {
    const UseTimer& timer = timers[static_cast<std::size_t>(id)];
    EXPECT_EQ(timer.id, id);
    EXPECT_EQ(timer.name, "timer " + std::to_string(id));
    EXPECT_EQ(timer.processor, 1);
  }
}

TEST_F(ResourceMonitorTimerTest, TimersRunSideBySide) {
  Monitor().StartTimer(0, "outer");
  Pass(1000, 0, 1000);
  Monitor().StartTimer(1, "inner");
  Pass(2000, 0, 2000);
  Monitor().StopTimer(1);
  Pass(4000, 0, 4000);
  Monitor().StopTimer(0);
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 2u);
  EXPECT_EQ(timers[0].processor, 7);
  EXPECT_EQ(timers[1].processor, 2);
}

TEST_F(ResourceMonitorTimerTest, NamesTakeTwentyColumnsAndMore) {
  const struct {
    std::string name, line;
  } cases[] = {
      {"", "!Timer 0 :                          1      "},
      {"two words", "!Timer 1 :              two words   1      "},
      {std::string(19, 'n'), "!Timer 2 :    " + std::string(19, 'n') + "   1      "},
      {std::string(20, 'n'), "!Timer 3 :   " + std::string(20, 'n') + "   1      "},
      {std::string(21, 'n'), "!Timer 4 :   " + std::string(21, 'n') + "   1      "},
      {std::string(9000, 'n'), "!Timer 5 :   " + std::string(9000, 'n') + "   1      "},
      {"%s%n", "!Timer 6 :                   %s%n   1      "},
  };
  for (int id = 0; const auto& c : cases) {
    Monitor().StartTimer(id, c.name.c_str());
    Monitor().StopTimer(id++);
  }
  Finalize();
  const std::string text = LogText();
  for (const auto& c : cases) {
    EXPECT_NE(text.find("\n" + c.line + "0.0000      0.0000      0.0 \n"),
              std::string::npos)
        << c.line;
  }
}

TEST_F(ResourceMonitorTimerTest, ANameEndsAtItsFirstZeroByte) {
  const char* none = nullptr;
  Monitor().StartTimer(0, cow_String("ab\0cd", 5));
  Monitor().StopTimer(0);
  Monitor().StartTimer(1, none);
  Monitor().StopTimer(1);
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 2u);
  EXPECT_EQ(timers[0].name, "ab");
  EXPECT_EQ(timers[1].name, "");
}

TEST_F(ResourceMonitorTimerTest, AnIntervalAcrossMidnightIsNegative) {
  process_.SetTime(23, 59, 59, 500);
  Monitor().StartTimer(0, "night");
  process_.SetTime(0, 0, 1, 0);
  Monitor().StopTimer(0);
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_DOUBLE_EQ(timers[0].elapsed, -86398.5);
}

TEST_F(ResourceMonitorTimerTest, TimerTwentyMeasuresTheTimer) {
  const std::vector<UseTimer> timers = FinishedLog().timers;
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].id, 20);
  EXPECT_EQ(timers[0].name, "Self");
  EXPECT_EQ(timers[0].calls, 1000);
}

TEST_F(ResourceMonitorTimerTest, TimerTwentyKeepsItsNameWhenOthersUseIt) {
  Monitor().StartTimer(20, "mine");
  Pass(3000, 0, 3000);
  Monitor().StopTimer(20);
  const std::vector<UseTimer> timers = FinishedLog().timers;
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].name, "Self");
  EXPECT_EQ(timers[0].calls, 1001);
  EXPECT_EQ(timers[0].processor, 3);
}

TEST_F(ResourceMonitorTimerTest, ATimerAsksForTimesAloneAndWritesNothing) {
  const std::string before = LogText();
  const int memoryCalls = process_.memoryCalls;
  const int calls = process_.Calls();
  Monitor().StartTimer(0, "timer");
  EXPECT_EQ(process_.Calls(), calls + 2);
  Monitor().StopTimer(0);
  EXPECT_EQ(process_.Calls(), calls + 4);
  EXPECT_EQ(process_.memoryCalls, memoryCalls);
  EXPECT_EQ(LogText(), before);
}

TEST_F(ResourceMonitorTimerTest, ProcessorTimesThatCannotBeReadCountAsZero) {
  Pass(3000, 0, 3000);
  Monitor().StartTimer(0, "timer");
  {
    const FailingCall failing(SystemCall::kGetProcessTimes, ERROR_ACCESS_DENIED);
    Monitor().StopTimer(0);
    EXPECT_TRUE(failing.Happened());
  }
  const std::vector<UseTimer> timers = Timers();
  ASSERT_EQ(timers.size(), 1u);
  EXPECT_EQ(timers[0].processor, -3);
}

TEST_F(ResourceMonitorOnTest, TimersOfARealRun) {
  Monitor().Initialize("beam");
  Monitor().StartTimer(0, "busy");
  SpendProcessorTime();
  Monitor().StopTimer(0);
  const std::vector<UseTimer> timers = FinishedLog().timers;
  ASSERT_EQ(timers.size(), 2u);
  EXPECT_GT(timers[0].processor, 0.19);
  EXPECT_DOUBLE_EQ(timers[0].processor, timers[0].processorPerCall);
  EXPECT_EQ(timers[1].calls, 1000);
}

}  // namespace
