// Processes with a tracker, and how they end.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "clients/late_end/late_end.h"
#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "thr/thr_ThreadPool.h"
#include "utl/tracker/TrackerTest.h"
#include "utl/utl_File.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_initialize.h"

namespace {

// The children inherit the current directory and the environment.
class IOTrackerProcessTest : public IOTrackerTest {
 protected:
  static void SwitchOn(const char* points = nullptr, const char* interval = nullptr) {
    SetEnvironment("KES_IO_TRACK", "1");
    SetEnvironment("KES_IO_TIMEPOINTS", points);
    SetEnvironment("KES_IO_TIMEINTERVAL", interval);
  }

  static int Run(const std::string& child, const std::vector<std::string>& args = {}) {
    ChildProcess process = ChildProcess::Start(child, args);
    process.WriteLine("go on");
    return process.Wait();
  }

  // A file whose last line may be cut, since nobody ended the tracker.
  TrackerFile ReadUpToTheLastLineEnd(const std::string& name) const {
    const std::string text = ReadWholeFile(File(name));
    WriteWholeFile(File("whole"), text.substr(0, text.rfind('\n') + 1));
    return Read("whole");
  }
};

utl_IOTracker& Tracker() {
  return *TrackerHolder::Instance().Tracker();
}

TEST_CHILD(trackedJob) {
  int count = 0;
  utl_initialize(count);
  utl_CommandLineLoader::SetArgs(argc, argv);
  utl_IOTracker& tracker = Tracker();
  tracker.COpen(1, "model.dat");
  tracker.CWrite(1, kMegabyte, 1);
  utl_IOTracker_Mark("solved");
  utl_finalize(count);
  return count;
}

TEST_F(IOTrackerProcessTest, WholeLife) {
  SwitchOn();
  EXPECT_EQ(Run("trackedJob", {"-job", "beam"}), 0);
  ASSERT_EQ(Read("beam.ioTotal").lines.size(), 1U);
  EXPECT_EQ(Read("beam.ioTotal").lines[0].label, "solved");
  EXPECT_EQ(ReadSummary(File("beam.ioFileSummary")).work,
            (std::vector<SummaryLine>{{"model.dat", 1, 1, 0, 0}}));
}

TEST_CHILD(untrackedJob) {
  int count = 0;
  utl_initialize(count);
  utl_IOTracker_Mark("no holder");
  const bool none = TrackerHolder::Look() == nullptr;
  utl_File("out.dat", utl_FileAccessWrite, utl_FileShareDefault).Init();
  utl_IOTracker_Mark("no tracker");
  const bool off = TrackerHolder::Instance().Tracker() == nullptr;
  utl_finalize(count);
  return none && off ? 0 : 1;
}

TEST_F(IOTrackerProcessTest, WithoutTheVariableThereIsNoTracker) {
  EXPECT_EQ(Run("untrackedJob"), 0);
  EXPECT_FALSE(Exists("ioTotal"));
  EXPECT_FALSE(Exists("ioFileSummary"));
}

TEST_CHILD(opensAFileForWriting) {
  int count = 0;
  utl_initialize(count);
  utl_IOTracker_Mark("too early");
  {
    utl_File file("out.dat", utl_FileAccessWrite, utl_FileShareDefault);
    file.Init();
  }
  utl_IOTracker_Mark("in time");
  utl_finalize(count);
  return 0;
}

TEST_F(IOTrackerProcessTest, OpeningAFileForWritingMakesTheTracker) {
  SwitchOn();
  EXPECT_EQ(Run("opensAFileForWriting"), 0);
  ASSERT_EQ(Read("ioTotal").lines.size(), 1U);
  EXPECT_EQ(Read("ioTotal").lines[0].label, "in time");
  EXPECT_TRUE(Summary().work.empty()) << "the library itself reports nothing";
}

// How a process ends that forgets the library: by the end of main, by exit, by exit in
// another thread.
TEST_CHILD(endsWithoutFinalize) {
  int count = 0;
  utl_initialize(count);
  utl_IOTracker& tracker = Tracker();
  for (int i = 0; i < 500; ++i) {
    tracker.COpen(i, ("f" + std::to_string(i)).c_str());
  }
  utl_IOTracker_Mark("one");
  tracker.TimePoint();
  tracker.FlushOutputs();
  utl_IOTracker_Mark("two");
  const std::string way = argv[1];
  if (way == "exit") {
    std::exit(0);
  }
  if (way == "thread") {
    std::thread([] { std::exit(0); }).join();
  }
  return 0;
}

TEST_F(IOTrackerProcessTest, EndWithoutFinalize) {
  for (const char* way : {"main", "exit", "thread"}) {
    for (const char* interval : {"1", "1000000"}) {
      for (const char* points : {"1", "2"}) {
        SCOPED_TRACE(std::string(way) + " " + interval + " " + points);
        SwitchOn(points, interval);
        EXPECT_EQ(Run("endsWithoutFinalize", {way}), 0);
        EXPECT_GE(ReadUpToTheLastLineEnd("ioTotal").lines.size(), 1U);
        EXPECT_FALSE(Exists("ioFileSummary"));
        std::filesystem::remove(File("ioTotal"));
      }
    }
  }
}

TEST_CHILD(waitsToBeKilled) {
  utl_IOTracker& tracker = Tracker();
  tracker.CWrite(1, kMegabyte, 1);
  tracker.Mark("one");
  tracker.TimePoint();
  tracker.FlushOutputs();
  ChildWriteLine("flushed");
  tracker.Mark("two");
  ChildReadLine();
  return 0;
}

TEST_F(IOTrackerProcessTest, KilledProcessLeavesWhatWasFlushed) {
  for (const char* points : {"1", "2"}) {
    SwitchOn(points, "1000000");
    ChildProcess child = ChildProcess::Start("waitsToBeKilled");
    EXPECT_EQ(child.ReadLine(), "flushed");
    child.Kill();
    const bool marks = points == std::string("1");
    const TrackerFile totals = ReadUpToTheLastLineEnd("ioTotal");
    ASSERT_EQ(totals.lines.size(), marks ? 2U : 1U);
    EXPECT_EQ(totals.lines[0].label, marks ? "one" : "");
    EXPECT_EQ(totals.lines.back()["Work Write MB"], 1);
    EXPECT_FALSE(Exists("ioFileSummary"));
  }
}

int atExitCount = 0;

TEST_CHILD(finalizesAtExit) {
  utl_initialize(atExitCount);
  std::atexit([] { utl_finalize(atExitCount); });
  Tracker().COpen(1, "a");
  return 0;
}

TEST_F(IOTrackerProcessTest, FinalizeAmongTheProgramsLastActs) {
  for (const char* interval : {"1", "1000000"}) {
    SwitchOn("2", interval);
    EXPECT_EQ(Run("finalizesAtExit"), 0);
    EXPECT_EQ(Summary().work.size(), 1U);
    std::filesystem::remove(File("ioFileSummary"));
  }
}

TEST_CHILD(clientEndsLate) {
  late_end_begin();
  utl_IOTracker& tracker = Tracker();
  for (int i = 0; i < std::atoi(argv[1]); ++i) {
    tracker.COpen(i, ("f" + std::to_string(i)).c_str());
  }
  // Threads that record to their end, as far as the system lets them live.
  for (int i = 0; i < std::atoi(argv[2]); ++i) {
    std::thread([&tracker] {
      for (;;) {
        tracker.CRead(0, kMegabyte, 1);
      }
    }).detach();
  }
  utl_sleep(static_cast<unsigned>(std::atoi(argv[3])));
  return 0;
}

// Else the system ends them before static objects are destroyed.
const bool kThreadsLiveOn = std::filesystem::path::preferred_separator == '/';

TEST_F(IOTrackerProcessTest, FinalizeWhenAllOtherThreadsAreGone) {
  for (const char* milliseconds : {"0", "30"}) {
    SCOPED_TRACE(milliseconds);
    SwitchOn("2", "1000000");
    EXPECT_EQ(Run("clientEndsLate", {"100", "0", milliseconds}), 0);
    EXPECT_EQ(Summary().work.size(), 100U);
    std::filesystem::remove(File("ioFileSummary"));
  }
}

// The task may have been ended within a time point; then there is no summary.
TEST_F(IOTrackerProcessTest, FinalizeWhenTheTaskWasEndedInATimePoint) {
  for (const char* interval : {"1", "2"}) {
    for (const char* milliseconds : {"0", "30"}) {
      SCOPED_TRACE(std::string(interval) + " " + milliseconds);
      SwitchOn("2", interval);
      EXPECT_EQ(Run("clientEndsLate", {"100", "0", milliseconds}), 0);
      if (kThreadsLiveOn || Exists("ioFileSummary")) {
        EXPECT_EQ(Summary().work.size(), 100U);
      }
      std::filesystem::remove(File("ioFileSummary"));
    }
  }
}

// As may others within an operation.
TEST_F(IOTrackerProcessTest, FinalizeWhenThreadsWereEndedInTheirOperations) {
  if (kThreadsLiveOn) {
    GTEST_SKIP() << "threads live on here while static objects are destroyed";
  }
  for (int round = 0; round < 10; ++round) {
    SwitchOn(round % 2 == 0 ? "1" : "2", "1");
    EXPECT_EQ(Run("clientEndsLate", {"100", "3", "20"}), 0);
  }
}

TEST_CHILD(clientWithAnIdlePoolEndsLate) {
  late_end_begin();
  auto& pool = thr_GlobalSingleton<thr_ThreadPool>::Instance();
  pool.AddThreads(2, 2);
  utl_sleep(static_cast<unsigned>(std::atoi(argv[1])));
  return 0;
}

TEST_F(IOTrackerProcessTest, FinalizeWhenThePoolsIdleThreadsAreGone) {
  for (const char* milliseconds : {"0", "1", "100"}) {
    EXPECT_EQ(Run("clientWithAnIdlePoolEndsLate", {milliseconds}), 0) << milliseconds;
  }
}

TEST_CHILD(cannotWrite) {
  if (!BecomeOtherUser()) {
    return 2;
  }
  int count = 0;
  utl_initialize(count);
  Tracker().COpen(1, "a");
  for (int i = 0; i < 10; ++i) {
    utl_IOTracker_Mark("m");
  }
  Tracker().FlushOutputs();
  utl_finalize(count);
  return 0;
}

TEST_F(IOTrackerProcessTest, DirectoryWithoutPermissionIsPassedOverInSilence) {
  for (const char* points : {"1", "2"}) {
    SwitchOn(points, "1");
    SetEnvironment("KES_IO_INDIVIDUAL", "1");
    ForbidCreation(surroundings_.Dir().Path());
    const int status = Run("cannotWrite");
    AllowCreation(surroundings_.Dir().Path());
    if (status == 2) {
      GTEST_SKIP() << "no user to whom permissions apply";
    }
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(Exists("ioTotal"));
    EXPECT_FALSE(Exists("a_ioTotal"));
    EXPECT_FALSE(Exists("ioFileSummary"));
  }
}

}  // namespace
