// The tracker from several threads.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "common/thread/StartLine.h"
#include "utl/tracker/TrackerTest.h"

namespace {

constexpr int kThreads = 8;
constexpr int kOperations = 125000;  // of a thread: a million in all
// Both come out exactly in six digits after the point.
constexpr std::int64_t kBytes = 65536;
constexpr double kSeconds = 1.0 / 64;

using IOTrackerThreadsTest = IOTrackerTest;

// Runs `work` with the numbers 0 to `count` - 1, all beginning together.
void RunThreads(int count, const std::function<void(int)>& work) {
  StartLine start(count);
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      start.Wait();
      work(i);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// What `operations` of one kind come to.
Numbers Counted(double operations) {
  return {operations, operations * double(kBytes) / 1048576, operations * kSeconds};
}

Numbers Doubled(const Numbers& numbers) {
  Numbers both = numbers;
  both.insert(both.end(), numbers.begin(), numbers.end());
  return both;
}

void operator+=(Numbers& sum, const Numbers& other) {
  for (std::size_t i = 0; i < sum.size(); ++i) {
    sum[i] += other[i];
  }
}

// Every thread writes to a file of its own and reads from one that all share.
void Work(utl_IOTracker& tracker, int thread) {
  tracker.COpen(thread, ("own" + std::to_string(thread)).c_str());
  for (int i = 0; i < kOperations / 2; ++i) {
    tracker.CWrite(thread, kBytes, kSeconds);
    tracker.URead(4711, kBytes, kSeconds);
  }
}

TEST_F(IOTrackerThreadsTest, AMillionOperationsAddUp) {
  utl_IOTracker& tracker = StartTracker("3");
  tracker.UOpen(4711, "shared");
  RunThreads(kThreads, [&](int i) { Work(tracker, i); });
  constexpr double kHalf = kThreads * kOperations / 2.0;
  utl_IOTrackerRecord sum;
  tracker.SumTotals(1, sum);
  EXPECT_EQ(Quantities(sum), Doubled(Counted(kHalf)));
  EXPECT_EQ(sum.bytesWritten, static_cast<std::int64_t>(kHalf) * kBytes);
  EXPECT_EQ(sum.bytesRead, sum.bytesWritten);
  EXPECT_EQ(sum.opens, kThreads + 1);
  EXPECT_EQ(tracker.CCount(), kThreads);
  for (int i = 0; i < kThreads; ++i) {
    utl_IOTrackerRecord own;
    ASSERT_TRUE(tracker.CTotals(i, own));
    EXPECT_EQ(own.writeCount, kOperations / 2);
  }
  tracker.Mark("end");
  EndTracker();
  EXPECT_EQ(Read("ioTotal").lines.at(0).Of("Work "), Doubled(Counted(kHalf)));
  EXPECT_EQ(Summary().work.back().readMB, kHalf * kBytes / 1048576);
}

// While a million operations are counted, lines are written. Each shows a moment: the
// increments up to it and the totals are the same, and no operation is in two of them.
TEST_F(IOTrackerThreadsTest, IncrementsAddUpToTheTotals) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  testing::internal::CaptureStdout();
  utl_IOTracker& tracker = StartTracker("2");
  tracker.UOpen(4711, "shared");
  std::atomic<int> working = kThreads;
  RunThreads(kThreads + 2, [&](int i) {
    if (i < kThreads) {
      Work(tracker, i);
      --working;
      return;
    }
    while (working > 0) {
      if (i == kThreads) {
        tracker.Mark("m");
      } else {
        tracker.TimePoint();
      }
      std::this_thread::yield();
    }
  });
  tracker.Mark("last");
  EndTracker();
  testing::internal::GetCapturedStdout();
  const TrackerFile totals = Read("ioTotal");
  const TrackerFile increments = Read("ioInc");
  ASSERT_EQ(totals.lines.size(), increments.lines.size());
  Numbers sum(6);
  double elapsed = 0;
  for (std::size_t i = 0; i < totals.lines.size(); ++i) {
    sum += increments.lines[i].Of("Work ");
    ASSERT_EQ(totals.lines[i].Of("Work "), sum) << i;
    ASSERT_GE(totals.lines[i].elapsed, elapsed);
    elapsed = totals.lines[i].elapsed;
  }
  EXPECT_EQ(sum, Doubled(Counted(kThreads * kOperations / 2.0)));
  EXPECT_EQ(Read("shared_ioTotal").lines.back()["Read Count"],
            kThreads * kOperations / 2.0);
}

// Every operation of the interface at once, on few keys and paths.
TEST_F(IOTrackerThreadsTest, AllOperationsAtOnce) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  testing::internal::CaptureStdout();
  utl_IOTracker& tracker = StartTracker("3");
  std::atomic<int> writes = 0;
  RunThreads(kThreads, [&](int thread) {
    const std::string path = "f" + std::to_string(thread / 2);
    utl_IOTrackerRecord record;
    for (int i = 0; i < 300; ++i) {
      const std::int64_t key = (thread + i) % 5;
      tracker.COpen(key, path.c_str());
      tracker.CWrite(key, kBytes, kSeconds);
      tracker.CRead(key, kBytes, kSeconds);
      tracker.CSeek(key, kSeconds);
      tracker.CSetKind(key, i % 3);
      tracker.CKind(key);
      tracker.CTotals(key, record);
      tracker.CIncrements(key, record);
      tracker.CRename(key, (path + "renamed").c_str());
      const int count = tracker.CCount();
      EXPECT_NE(tracker.CPath(count - 1), nullptr);
      tracker.CClose(key);
      tracker.UOpen(key, path.c_str());
      tracker.UWrite(key, kBytes, kSeconds);
      tracker.URename(key, path.c_str());
      tracker.UClose(key);
      writes += 2;
      tracker.SumTotals(i % 2, record);
      tracker.SumIncrements(i % 2, record);
      EXPECT_GE(tracker.Now(), 0);
      EXPECT_EQ(tracker.Level(), 3);
      if (i % 100 == 0) {
        utl_IOTracker_Mark("m");
        tracker.TimePoint();
        tracker.WriteIncrements("i");
        tracker.SetSuffix(i % 200 == 0 ? "s" : nullptr);
        tracker.FlushOutputs();
      }
    }
  });
  utl_IOTrackerRecord work, scratch;
  tracker.SumTotals(1, work);
  tracker.SumTotals(0, scratch);
  EXPECT_EQ(work.writeCount + scratch.writeCount, writes);
  EndTracker();
  testing::internal::GetCapturedStdout();
}

TEST_F(IOTrackerThreadsTest, AllMakeTheHolderAtOnce) {
  SetEnvironment("KES_IO_TRACK", "1");
  for (int round = 0; round < 50; ++round) {
    EndTracker();
    std::atomic<utl_IOTracker*> made{nullptr};
    RunThreads(kThreads, [&](int) {
      utl_IOTracker_Mark("none yet, perhaps");
      utl_IOTracker* const mine = TrackerHolder::Instance().Tracker();
      ASSERT_NE(mine, nullptr);
      utl_IOTracker* other = nullptr;
      if (!made.compare_exchange_strong(other, mine)) {
        EXPECT_EQ(other, mine);
      }
      mine->CWrite(1, kBytes, kSeconds);
    });
    EXPECT_EQ(made.load()->CCount(), 1);
  }
}

}  // namespace
