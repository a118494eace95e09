// Timed mode: a task of the pool writes the lines.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/failing/FakeClock.h"
#include "common/failing/InsteadOfSleep.h"
#include "common/thread/FunctionTask.h"
#include "common/thread/StartLine.h"
#include "omi/omi_Timer.h"
#include "thr/thr_initialize.h"
#include "thr/thr_ThreadPool.h"
#include "utl/impl/tracker/utl_IOTracker_TimedOutTask.h"
#include "utl/tracker/TrackerTest.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_initialize.h"

namespace {

constexpr char kCompleted[] = "Completed TimedOutTask\n";

class IOTrackerTimedTest : public IOTrackerTest {
 protected:
  IOTrackerTimedTest() { SetEnvironment("KES_IO_TIMEPOINTS", "2"); }
  ~IOTrackerTimedTest() override {
    if (capturing_) {
      End();
    }
    EndPool();
  }

  // The standard error stream is captured from here on: doing so flushes all streams of
  // the process, which must not be while the task has some.
  utl_IOTracker& Start(const char* interval, const char* level = "1") {
    if (!capturing_) {
      testing::internal::CaptureStderr();
    }
    capturing_ = true;
    SetEnvironment("KES_IO_TIMEINTERVAL", interval);
    return StartTracker(level);
  }

  // The time points that the files show. When it returns, none is being written that had
  // begun before the call.
  std::size_t Points(utl_IOTracker& tracker) const {
    tracker.FlushOutputs();
    constexpr std::size_t kHead = 2;
    return std::max(ReadTextLines(File("ioTotal")).size(), kHead) - kHead;
  }

  // Waits until the files show that many.
  void AwaitPoints(utl_IOTracker& tracker, std::size_t count) const {
    while (Points(tracker) < count) {
      utl_sleep(10);
    }
  }

  // Waits for a time point that shows all that was counted before the call. The one of
  // the tracker's end need not: the task may be in the midst of its last then.
  void AwaitNextPoint(utl_IOTracker& tracker) const {
    AwaitPoints(tracker, Points(tracker) + 1);
  }

  // Ends the tracker; what that wrote to the standard error stream.
  std::string End() {
    EndTracker();
    capturing_ = false;
    return testing::internal::GetCapturedStderr();
  }

  static void EndPool() {
    int count = 0;
    thr_finalize(count);
  }

 private:
  bool capturing_ = false;
};

TEST_F(IOTrackerTimedTest, LinesComeWithoutLabels) {
  utl_IOTracker& tracker = Start("1");
  tracker.COpen(1, "a");
  tracker.CWrite(1, kMegabyte, 1);
  AwaitPoints(tracker, 2);
  AwaitNextPoint(tracker);
  EXPECT_EQ(End(), kCompleted);
  const TrackerFile totals = Read("ioTotal");
  EXPECT_FALSE(totals.hasLabels);
  EXPECT_EQ(totals.columns, kTrackerSumColumns);
  double elapsed = 0;
  for (const TrackerLine& line : totals.lines) {
    EXPECT_FALSE(line.hasLabel);
    EXPECT_GE(line.elapsed, elapsed + 0.009);  // the interval, and rounding
    elapsed = line.elapsed;
  }
  EXPECT_EQ(totals.lines.back().Of("Work "), (Numbers{1, 1, 1, 0, 0, 0}));
}

TEST_F(IOTrackerTimedTest, ExactHead) {
  AwaitPoints(Start("1"), 1);
  End();
  EXPECT_EQ(ReadTextLines(File("ioTotal"))[1],
            "Elapsed Time, Work Write Count, Work Write MB, Work Write Time, "
            "Work Read Count, Work Read MB, Work Read Time, Scratch Write Count, "
            "Scratch Write MB, Scratch Write Time, Scratch Read Count, Scratch Read MB, "
            "Scratch Read Time");
}

TEST_F(IOTrackerTimedTest, TheNumber2InAllItsForms) {
  for (const char* points : {" 2", "+2", "02", "2x", "2.9"}) {
    SetEnvironment("KES_IO_TIMEPOINTS", points);
    Start("100000").TimePoint();
    EXPECT_EQ(End(), kCompleted) << points;
    EXPECT_FALSE(Read("ioTotal").hasLabels) << points;
  }
}

TEST_F(IOTrackerTimedTest, MarksWriteNothing) {
  utl_IOTracker& tracker = Start("100000", "2");
  tracker.CWrite(1, kMegabyte, 1);
  tracker.Mark("m");
  utl_IOTracker_Mark("n");
  tracker.FlushOutputs();
  EXPECT_FALSE(Exists("ioTotal"));
  EXPECT_FALSE(Exists("ioInc"));
  utl_IOTrackerRecord record;
  EXPECT_TRUE(tracker.CIncrements(1, record));
  EXPECT_EQ(record.writeCount, 1) << "what a mark has not written is not zeroed";
}

TEST_F(IOTrackerTimedTest, IncrementsAndIndividualOutputs) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  testing::internal::CaptureStdout();
  utl_IOTracker& tracker = Start("2", "2");
  tracker.COpen(1, "a");
  for (int i = 0; i < 100; ++i) {
    tracker.CWrite(1, kMegabyte, 1);
    utl_sleep(1);
  }
  AwaitPoints(tracker, 1);
  AwaitNextPoint(tracker);
  End();
  testing::internal::GetCapturedStdout();
  const TrackerFile totals = Read("ioTotal");
  const TrackerFile increments = Read("ioInc");
  const TrackerFile individual = Read("a_ioTotal");
  EXPECT_FALSE(increments.hasLabels);
  EXPECT_FALSE(individual.hasLabels);
  EXPECT_EQ(individual.columns, kTrackerFileColumns);
  ASSERT_EQ(increments.lines.size(), totals.lines.size());
  double sum = 0;
  for (std::size_t i = 0; i < totals.lines.size(); ++i) {
    sum += increments.lines[i]["Work Write Count"];
    EXPECT_EQ(totals.lines[i]["Work Write Count"], sum);
  }
  EXPECT_EQ(sum, 100);
  EXPECT_EQ(individual.lines.back()["Write MB"], 100);
}

TEST_F(IOTrackerTimedTest, WrittenIncrementsHaveNoLabelHere) {
  utl_IOTracker& tracker = Start("100000");
  tracker.WriteIncrements("label");
  End();
  const TrackerFile increments = Read("ioInc");
  EXPECT_FALSE(increments.hasLabels);
  ASSERT_EQ(increments.lines.size(), 1U);
  EXPECT_FALSE(increments.lines[0].hasLabel);
}

// The pauses of the task are watched and not made. The first one is at most the interval,
// and never long, whatever that is.
TEST_F(IOTrackerTimedTest, IntervalOfTheEnvironment) {
  const struct {
    const char* value;
    DWORD firstPause;
  } cases[] = {{nullptr, 100},
               {"", 100},
               {"0", 100},
               {"-5", 100},
               {"x", 100},
               {"1", 10},
               {"7", 70},
               {"10", 100},
               {"50", 100},
               {"2147483647", 100},
               {"99999999999999999999", 100}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.value == nullptr ? "unset" : one.value);
    std::atomic<DWORD> first = 0;
    const InsteadOfSleep watch([&](DWORD milliseconds) {
      DWORD none = 0;
      first.compare_exchange_strong(none, milliseconds);
      std::this_thread::yield();
    });
    Start(one.value);
    while (first == 0) {
      std::this_thread::yield();
    }
    End();
    EndPool();
    EXPECT_LE(first, one.firstPause);
  }
}

// However slow the machine is: no line comes before the interval has passed, and no pause
// is to end later than that.
TEST_F(IOTrackerTimedTest, PausesLastTheInterval) {
  const struct {
    const char* value;
    double seconds;
  } cases[] = {{nullptr, 1}, {"-1", 1}, {"0", 1}, {"25", 0.25}, {"50", 0.5}};
  constexpr double kRounding = 0.0011;  // to whole milliseconds
  for (const auto& one : cases) {
    SCOPED_TRACE(one.value == nullptr ? "unset" : one.value);
    omi_Timer timer;
    double ended = 0;  // the pause before, in seconds from the first one's start
    double latestEnd = 0;
    const InsteadOfSleep watch([&](DWORD milliseconds) {
      const std::chrono::milliseconds pause(milliseconds);
      if (Exists("ioTotal")) {
        return std::this_thread::sleep_for(pause);
      }
      timer.Start();
      latestEnd = std::max(latestEnd, ended + milliseconds / 1000.0);
      std::this_thread::sleep_for(pause);
      ended = timer.Elapsed();
    });
    Start(one.value);
    while (!Exists("ioTotal")) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    End();
    EXPECT_GE(Read("ioTotal").lines.at(0).elapsed, one.seconds - 1e-6);
    EXPECT_LE(latestEnd, one.seconds + kRounding);
    std::filesystem::remove(File("ioTotal"));
  }
}

using IOTrackerTaskTest = IOTrackerTest;

// Each pause goes by what is left then: the first and the second one last longer, and
// shorter, than was asked for.
TEST_F(IOTrackerTaskTest, PausesEndExactlyWithTheInterval) {
  FakeClock clock;
  const auto state = std::make_shared<utl_IOTrackerTaskState>();
  const std::vector<std::chrono::microseconds> lasting = {
      std::chrono::microseconds(9937500), std::chrono::microseconds(62000),
      std::chrono::microseconds(500)};
  std::vector<DWORD> pauses;
  const InsteadOfSleep watch([&](DWORD milliseconds) {
    if (pauses.size() < lasting.size()) {
      clock.Advance(lasting[pauses.size()]);
    } else {
      state->RequestStop();
    }
    pauses.push_back(milliseconds);
  });
  testing::internal::CaptureStderr();
  utl_IOTracker_TimedOutTask(StartTracker("1"), 10000, state).Run();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kCompleted);
  EndTracker();
  EXPECT_EQ(pauses, (std::vector<DWORD>{100, 63, 1, 100}));
  EXPECT_EQ(Read("ioTotal").lines.size(), 2U) << "one at the end";
}

// Exits 0 when the words are in the file that the buffered standard error stream is.
TEST_CHILD(saysCompletedThroughABuffer) {
  if (std::freopen(argv[1], "w", stderr) == nullptr ||
      std::setvbuf(stderr, nullptr, _IOFBF, BUFSIZ) != 0) {
    return 1;
  }
  std::fputs("before, ", stderr);
  const bool isHeld = ReadWholeFile(argv[1]).empty();
  utl_IOTracker_TimedOutTask::SayCompleted();
  const std::vector<std::string> said = {"before, Completed TimedOutTask"};
  return isHeld && ReadTextLines(argv[1]) == said ? 0 : 1;
}

TEST_F(IOTrackerTaskTest, WhatIsSaidAtTheEndDoesNotStayInABuffer) {
  EXPECT_EQ(ChildProcess::Start("saysCompletedThroughABuffer", {File("said")}).Wait(), 0);
}

// The last time point comes at the end, and shows everything.
TEST_F(IOTrackerTimedTest, EndWhileTheTaskSleeps) {
  std::promise<void> sleeps;
  std::atomic<bool> told = false;
  const InsteadOfSleep watch([&](DWORD) {
    if (!told.exchange(true)) {
      sleeps.set_value();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  utl_IOTracker& tracker = Start("100000");
  sleeps.get_future().wait();
  tracker.CWrite(1, kMegabyte, 1);
  EXPECT_EQ(End(), kCompleted);
  const TrackerFile totals = Read("ioTotal");
  ASSERT_EQ(totals.lines.size(), 1U);
  EXPECT_EQ(totals.lines[0].Of("Work "), (Numbers{1, 1, 1, 0, 0, 0}));
}

// The summary is written before the task is waited for, which is in pauses of a tenth of
// a second. The task has just ended when one of these is over.
TEST_F(IOTrackerTimedTest, EndWaitsInPausesOfATenthOfASecond) {
  const std::thread::id ending = std::this_thread::get_id();
  std::promise<void> sleeps;
  std::promise<void> mayWake;
  bool told = false;          // the task's
  std::vector<DWORD> pauses;  // the end's
  bool hasSummary = false;    // in the first of them
  bool hasTotals = false;
  const InsteadOfSleep watch([&](DWORD milliseconds) {
    if (std::this_thread::get_id() != ending) {
      if (std::exchange(told, true)) {
        return;
      }
      sleeps.set_value();
      mayWake.get_future().wait();
      return;
    }
    pauses.push_back(milliseconds);
    if (pauses.size() == 1) {
      hasSummary = Summary().work.size() == 1;
      hasTotals = Exists("ioTotal");
      mayWake.set_value();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  Start("100000").COpen(1, "a");
  sleeps.get_future().wait();
  EXPECT_EQ(End(), kCompleted);
  EXPECT_EQ(pauses, std::vector<DWORD>(std::max<std::size_t>(pauses.size(), 1), 100));
  EXPECT_TRUE(hasSummary);
  EXPECT_FALSE(hasTotals);
  EXPECT_EQ(Read("ioTotal").lines.size(), 1U);
}

// The task writes without a pause, so that the end finds it anywhere in its work.
TEST_F(IOTrackerTimedTest, EndWhileTheTaskWrites) {
  for (int round = 0; round < 20; ++round) {
    utl_IOTracker& tracker = Start("1", "2");
    for (int i = 0; i < 100; ++i) {
      tracker.COpen(i, std::to_string(i).c_str());
    }
    AwaitPoints(tracker, 1);
    EXPECT_EQ(End(), kCompleted);
    EXPECT_EQ(Read("ioTotal").lines.size(), Read("ioInc").lines.size());
    std::filesystem::remove(File("ioTotal"));
  }
}

TEST_F(IOTrackerTimedTest, EndAtOnce) {
  for (int round = 0; round < 20; ++round) {
    Start("1");
    EXPECT_EQ(End(), kCompleted);
  }
  EXPECT_TRUE(Exists("ioFileSummary"));
}

// All threads of the pool do other things for longer than the tracker lives.
TEST_F(IOTrackerTimedTest, TaskThatNeverBeganIsNotWaitedFor) {
  auto& pool = thr_GlobalSingleton<thr_ThreadPool>::Instance();
  std::promise<void> mayEnd;
  const std::shared_future<void> ends = mayEnd.get_future().share();
  for (int i = 0; i < 4; ++i) {
    pool.RunTask(FunctionTask::Of([ends] { ends.wait(); }));
  }
  pool.AddThreads(1, 1);
  utl_IOTracker& tracker = Start("1");
  tracker.COpen(1, "a");
  EXPECT_EQ(End(), kCompleted);
  EXPECT_EQ(Summary().work.size(), 1U);
  mayEnd.set_value();
  // The task, when its turn comes, leaves the dead tracker alone.
  std::promise<void> last;
  pool.RunTask(FunctionTask::Of([&last] { last.set_value(); }));
  last.get_future().wait();
  EXPECT_FALSE(Exists("ioTotal"));
}

TEST_F(IOTrackerTimedTest, TwoTrackersOneAfterTheOther) {
  for (const char* job : {"one", "two"}) {
    LoadArguments({"-job", job});
    utl_IOTracker& tracker = Start("1");
    tracker.CWrite(1, kMegabyte, 1);
    while (!Exists(std::string(job) + ".ioTotal")) {
      utl_sleep(1);
    }
    EXPECT_EQ(End(), kCompleted);
    EXPECT_GE(Read(std::string(job) + ".ioTotal").lines.size(), 1U);
  }
}

TEST_F(IOTrackerTimedTest, OperationsGoOnWhileTheTaskWrites) {
  utl_IOTracker& tracker = Start("1", "3");
  AwaitPoints(tracker, 1);
  StartLine start(4);
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      start.Wait();
      for (int i = 0; i < 20000; ++i) {
        tracker.CWrite(thread, kMegabyte, 1);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  AwaitNextPoint(tracker);
  End();
  EXPECT_EQ(Read("ioTotal").lines.back().Of("Work "),
            (Numbers{80000, 80000, 80000, 0, 0, 0}));
}

// The library's end ends the tracker, and then the pool.
TEST_F(IOTrackerTimedTest, FinalizeEndsAll) {
  int count = 0;
  utl_initialize(count);
  Start("1").CWrite(1, kMegabyte, 1);
  utl_finalize(count);
  EXPECT_EQ(End(), kCompleted);
  EXPECT_EQ(TrackerHolder::Look(), nullptr);
  EXPECT_EQ(thr_GlobalSingleton<thr_ThreadPool>::Look(), nullptr);
  EXPECT_TRUE(Exists("ioFileSummary"));
}

}  // namespace
