// The tracker in a copy of the process that goes on without a program of its own: it is
// the parent's, and its files are, too.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "common/child/ProcessCopy.h"
#include "thr/thr_initialize.h"
#include "thr/thr_ThreadPool.h"
#include "utl/tracker/TrackerTest.h"
#include "utl/utl_File.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_initialize.h"

namespace {

constexpr char kCompleted[] = "Completed TimedOutTask\n";

using Names = std::vector<std::string>;

class IOTrackerCopyTest : public ProcessCopyTest<IOTrackerTest> {
 protected:
  ~IOTrackerCopyTest() override {
    EndTracker();
    int count = 0;
    thr_finalize(count);
  }

  enum class StartsATask { kNo, kYes };

  void ExpectEndOfTheCopyWritesNothing(StartsATask startsATask) {
    const bool timed = startsATask == StartsATask::kYes;
    testing::internal::CaptureStderr();
    int count = 0;
    utl_initialize(count);
    utl_IOTracker& tracker = timed ? StartTimed("1000000") : StartTracker("2");
    tracker.COpen(1, "a");
    ExpectInCopy([&] {
      utl_finalize(count);
      return count == 0 && TrackerHolder::Look() == nullptr &&
             thr_GlobalSingleton<thr_ThreadPool>::Look() == nullptr;
    });
    EXPECT_EQ(Files(), Names());
    utl_finalize(count);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), timed ? kCompleted : "");
    EXPECT_EQ(Summary().work.size(), 1U);
  }

  // Named by another job, so that its files are others.
  void ExpectTheCopyMayHaveItsOwn(StartsATask startsATask) {
    const bool timed = startsATask == StartsATask::kYes;
    testing::internal::CaptureStderr();
    const utl_IOTracker& tracker = timed ? StartTimed("1") : StartTracker("2");
    ExpectInCopy([&] {
      int count = 0;
      EndTracker();
      thr_finalize(count);
      LoadArguments({"-job", "copy"});
      utl_IOTracker& own = *TrackerHolder::Instance().Tracker();
      own.COpen(1, "a");
      own.Mark("own");
      while (timed && !Exists("copy.ioTotal")) {
        utl_sleep(1);
      }
      EndTracker();
      thr_finalize(count);
      return &own != &tracker;
    });
    EndTracker();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              timed ? std::string(kCompleted) + kCompleted : "");
    EXPECT_EQ(ReadSummary(File("copy.ioFileSummary")).work.size(), 1U);
    EXPECT_GE(Read("copy.ioTotal").lines.size(), 1U);
  }

  static utl_IOTracker& StartTimed(const char* interval) {
    SetEnvironment("KES_IO_TIMEPOINTS", "2");
    SetEnvironment("KES_IO_TIMEINTERVAL", interval);
    return StartTracker("2");
  }

  std::vector<std::string> LabelsOf(const std::string& name) const {
    std::vector<std::string> labels;
    for (const TrackerLine& line : Read(name).lines) {
      labels.push_back(line.label);
    }
    return labels;
  }
};

// Its timed task starts or writes, or other threads record.
using BusyIOTrackerCopyTest = BusyProcessCopyTest<IOTrackerCopyTest>;

// Every operation, on one key.
void UseAll(utl_IOTracker& tracker) {
  utl_IOTrackerRecord record;
  tracker.COpen(1, "of the copy");
  tracker.CWrite(1, kMegabyte, 1);
  tracker.CRead(1, kMegabyte, 1);
  tracker.CSeek(1, 1);
  tracker.CSetKind(1, 0);
  tracker.CKind(1);
  tracker.CTotals(1, record);
  tracker.CIncrements(1, record);
  tracker.CPath(tracker.CCount() - 1);
  tracker.CRename(1, "renamed");
  tracker.CClose(1);
  tracker.SumTotals(1, record);
  tracker.SumIncrements(1, record);
  tracker.SetSuffix("of the copy");
  tracker.Mark("of the copy");
  utl_IOTracker_Mark("of the copy");
  tracker.TimePoint();
  tracker.WriteIncrements("of the copy");
  tracker.FlushOutputs();
}

TEST_F(IOTrackerCopyTest, LinesHeldBackAreWrittenOnce) {
  utl_IOTracker& tracker = StartTracker("1");
  tracker.Mark("one");
  ExpectInCopy([] { return true; });
  ExpectInCopy([] {
    EndTracker();
    return true;
  });
  tracker.Mark("two");
  EndTracker();
  EXPECT_EQ(LabelsOf("ioTotal"), (Names{"one", "two"}));
}

TEST_F(IOTrackerCopyTest, NothingIsWrittenOrMade) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  utl_IOTracker& tracker = StartTracker("1");
  tracker.Mark("one");
  tracker.FlushOutputs();
  testing::internal::CaptureStdout();
  ExpectInCopy([&] {
    UseAll(tracker);
    EndTracker();
    return TrackerHolder::Look() == nullptr;
  });
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(Files(), Names{"ioTotal"});
  EndTracker();
  EXPECT_EQ(LabelsOf("ioTotal"), Names{"one"});
  EXPECT_TRUE(Summary().work.empty());
}

TEST_F(IOTrackerCopyTest, OperationsCountNothing) {
  utl_IOTracker& tracker = StartTracker("3");
  tracker.COpen(1, "a");
  tracker.CWrite(1, kMegabyte, 1);
  ExpectInCopy([&] {
    UseAll(tracker);
    utl_IOTrackerRecord record = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 10};
    const bool known = tracker.CTotals(1, record);
    return !known && record.writeCount == 0 && record.kind == 2 &&
           tracker.CKind(1) == 2 && tracker.CCount() == 0 &&
           tracker.CPath(0) == std::string() && tracker.Level() == 3 && tracker.Now() > 0;
  });
  utl_IOTrackerRecord record;
  EXPECT_TRUE(tracker.CTotals(1, record));
  EXPECT_EQ(record.writeCount, 1);
}

TEST_F(IOTrackerCopyTest, FinalizeEndsAtOnceAndWritesNothing) {
  ExpectEndOfTheCopyWritesNothing(StartsATask::kNo);
}

TEST_F(BusyIOTrackerCopyTest, FinalizeEndsAtOnceAndWritesNothing) {
  ExpectEndOfTheCopyWritesNothing(StartsATask::kYes);
}

// Wherever the task is: sleeping, counting, writing.
TEST_F(BusyIOTrackerCopyTest, CopiesOfAProcessWhoseTaskWrites) {
  testing::internal::CaptureStderr();
  utl_IOTracker& tracker = StartTimed("1");
  for (int i = 0; i < 1000; ++i) {
    tracker.COpen(i, std::to_string(i).c_str());
  }
  for (int i = 0; i < 20; ++i) {
    ExpectInCopy([&] {
      UseAll(tracker);
      EndTracker();
      int count = 0;
      thr_finalize(count);
      return true;
    });
  }
  EndTracker();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kCompleted);
  const TrackerFile totals = Read("ioTotal");
  EXPECT_EQ(totals.lines.size(), Read("ioInc").lines.size());
  for (std::size_t i = 1; i < totals.lines.size(); ++i) {
    EXPECT_GT(totals.lines[i].elapsed, totals.lines[i - 1].elapsed) << "written twice";
  }
  EXPECT_EQ(Summary().work.size(), 1000U);
}

// In many copies one of them has just locked something.
TEST_F(BusyIOTrackerCopyTest, CopiesWhileThreadsRecordDoNotWaitForThem) {
  utl_IOTracker& tracker = StartTracker("2");
  std::atomic<bool> stop = false;
  const auto repeat = [&stop](const std::function<void()>& work) {
    return std::thread([&stop, work] {
      while (!stop) {
        work();
      }
    });
  };
  // Marks stay in memory: without a rest between them each copy would take longer than
  // the one before.
  std::thread threads[] = {repeat([&] { tracker.CWrite(1, kMegabyte, 1); }), repeat([&] {
                             tracker.Mark("m");
                             std::this_thread::sleep_for(std::chrono::microseconds(100));
                           })};
  for (int i = 0; i < 20; ++i) {
    ExpectInCopy([&] {
      UseAll(tracker);
      EndTracker();
      return true;
    });
  }
  stop = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  EndTracker();
  double sum = 0;
  for (const TrackerLine& line : Read("ioInc").lines) {
    sum += line["Work Write Count"];
  }
  EXPECT_EQ(Read("ioTotal").lines.back()["Work Write Count"], sum);
}

TEST_F(IOTrackerCopyTest, AfterTheEndOfTheParentsItMayHaveItsOwn) {
  ExpectTheCopyMayHaveItsOwn(StartsATask::kNo);
}

TEST_F(BusyIOTrackerCopyTest, AfterTheEndOfTheParentsItMayHaveItsOwn) {
  ExpectTheCopyMayHaveItsOwn(StartsATask::kYes);
}

TEST_F(IOTrackerCopyTest, TrackerThatACopyMadeIsItsOwn) {
  SetEnvironment("KES_IO_TRACK", "1");
  ExpectInCopy([] {
    utl_File("out.dat", utl_FileAccessWrite, utl_FileShareDefault).Init();
    utl_IOTracker_Mark("own");
    EndTracker();
    return true;
  });
  EXPECT_EQ(LabelsOf("ioTotal"), Names{"own"});
  EXPECT_TRUE(Exists("ioFileSummary"));
}

// A holder beside the process's.
TEST_F(BusyIOTrackerCopyTest, HolderOfTheParentEndsInSilence) {
  testing::internal::CaptureStderr();
  SetEnvironment("KES_IO_TRACK", "1");
  SetEnvironment("KES_IO_TIMEPOINTS", "2");
  SetEnvironment("KES_IO_TIMEINTERVAL", "1000000");
  {
    utl_IOTracker_Container holder;
    ExpectInCopy([&] {
      holder.~utl_IOTracker_Container();
      return true;
    });
    EXPECT_EQ(Files(), Names());
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kCompleted);
  EXPECT_TRUE(Exists("ioFileSummary"));
}

}  // namespace
