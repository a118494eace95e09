// Logs and the command line where memory runs out: see RefuseEachInTurn.

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "memory/RefuseEachInTurn.h"
#include "thr/thr_GlobalSingleton.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineForeign.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_Phase.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_runMain.h"
#include "utl/utl_TrackedFile.h"
#include "utl/utl_TrackedOperation.h"

namespace {

using TrackerHolder = thr_GlobalSingleton<utl_IOTracker_Container>;

void LoadOptions() {
  thr_GlobalSingleton<utl_CommandLine>::Destroy();
  cow_1DArrayList<cow_String> list;
  for (const char* argument :
       {"-job", "a-job-with-a-long-name", "-count", "12", "-title", "some text"}) {
    list.Append(argument);
  }
  utl_CommandLineLoader::SetArgsList(list);
}

// Ends the logs that were begun, however an operation ends.
struct LogsEnd {
  ~LogsEnd() {
    TrackerHolder::Destroy();
    omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  }
};

class RefusedMemoryLogsTest : public testing::Test {
 protected:
  ~RefusedMemoryLogsTest() override { thr_GlobalSingleton<utl_CommandLine>::Destroy(); }

  TempDir dir_;
  CurrentDirectory current_{dir_.Path()};
  ScopedEnvironment monitor_{"KES_RESOURCE_MONITOR", "FULLMETHOD"};
  ScopedEnvironment track_{"KES_IO_TRACK", "3"};
};

utl_ResourceMonitor& Monitor() {
  return omi_Singleton<utl_ResourceMonitor>::Instance();
}

TEST_F(RefusedMemoryLogsTest, Monitor) {
  const std::string label(200, 'x');
  RefuseEachInTurn([&] {
    const LogsEnd end;
    Monitor().Initialize("a-job-with-a-long-name");
    Monitor().StartTimer(0, "a timer with a long name that needs memory");
    Monitor().StopTimer(0);
    Monitor().Mark(label.c_str());
  });
}

TEST_F(RefusedMemoryLogsTest, TrackerOfEachOperation) {
  testing::internal::CaptureStdout();  // it tells what it opens
  RefuseEachInTurn([] {
    const LogsEnd end;
    utl_IOTracker& tracker = *TrackerHolder::Instance().Tracker();
    tracker.SetSuffix("-suffix-of-some-length");
    tracker.COpen(1, "a-file-with-a-long-name");
    tracker.CWrite(1, 100, 0.5);
    tracker.CRead(1, 100, 0.5);
    tracker.CSeek(1, 0.5);
    tracker.CRename(1, "another-file-with-a-long-name");
    tracker.UOpen(2, "a-file-with-a-long-name");
    tracker.UWrite(2, 100, 0.5);
    tracker.URead(3, 100, 0.5);
    tracker.USeek(2, 0.5);
    tracker.USetKind(2, 0);
    tracker.URename(2, "a-unit-with-a-name-of-some-length");
    utl_IOTrackerRecord record;
    EXPECT_TRUE(tracker.CTotals(1, record) && tracker.UIncrements(2, record));
    EXPECT_STREQ(tracker.CPath(0), "another-file-with-a-long-name");
    tracker.UClose(2);
    tracker.Mark("a mark with a long name, which needs memory");
    tracker.TimePoint();
    tracker.WriteIncrements("a label with a long name, which needs memory");
    tracker.FlushOutputs();
    tracker.CClose(1);
  });
  testing::internal::GetCapturedStdout();
}

TEST_F(RefusedMemoryLogsTest, TrackedFilesAndOperations) {
  testing::internal::CaptureStdout();
  RefuseEachInTurn([] {
    const LogsEnd end;
    TrackerHolder::Instance();
    utl_TrackedFile file("a-file-with-a-long-name", utl_FileAccessWrite,
                         utl_FileShareDefault);
    file.Write("abc", 3);
    file.Seek(0);
    char bytes[3];
    EXPECT_EQ(file.Read(bytes, 3), 3);
    utl_TrackedOperation operation(utl_TrackedWrite, "a-file-with-a-long-name");
    operation.SetBytes(3);
  });
  testing::internal::GetCapturedStdout();
}

// Throws nothing: a phase at whose end there is no memory leaves its mark out.
TEST_F(RefusedMemoryLogsTest, PhaseThrowsNothingAtItsEnd) {
  testing::internal::CaptureStdout();
  RefuseEachInTurn([] {
    const LogsEnd end;
    TrackerHolder::Instance();
    Monitor().Initialize("a-job-with-a-long-name");
    const utl_Phase phase(1, "a phase with a long name, which needs memory");
  });
  testing::internal::GetCapturedStdout();
}

TEST_F(RefusedMemoryLogsTest, CommandLineInAllItsWays) {
  RefuseEachInTurn([] {
    LoadOptions();
    const utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
    EXPECT_EQ(line.ConstGetValueAsInt("count"), 12);
    EXPECT_GT(utl_JobFileName(".suffix").Length(), 30);
    int number = 0;
    UTL_COMMANDLINEINTEGER("count", &number, 5);
    EXPECT_EQ(number, 12);
    char text[100];
    EXPECT_EQ(utl_CommandLineStringC("title", text, 100), 9);
  });
}

TEST_F(RefusedMemoryLogsTest, ProgramEndsWithAStatus) {
  testing::internal::CaptureStderr();
  int status = -1;
  RefuseEachInTurn(
      [&] {
        char program[] = "program";
        char option[] = "-title";
        char value[] = "a value that is too long to be held without memory";
        char* arguments[] = {program, option, value, nullptr};
        status = utl_runMain("program", 3, arguments, [](const utl_CommandLine&) {});
      },
      [&] { EXPECT_TRUE(status == 0 || status == 1) << status; });
  testing::internal::GetCapturedStderr();
}

TEST_F(RefusedMemoryLogsTest, AFailureThatCannotBeToldIsToldAsThat) {
  char program[] = "program";
  char* arguments[] = {program, nullptr};
  bool isToldAsThat = false;
  bool refused = true;
  for (int nth = 1; refused; ++nth) {
    testing::internal::CaptureStderr();
    std::optional<RefusedMemory> memory;
    EXPECT_EQ(utl_runMain("program", 1, arguments,
                          [&](const utl_CommandLine&) {
                            const std::runtime_error failure(
                                "a text that is too long to be held without memory");
                            memory.emplace(nth);
                            throw std::runtime_error(failure);  // shares the text
                          }),
              1);
    refused = memory.has_value() && memory->Happened();
    memory.reset();
    const std::string told = testing::internal::GetCapturedStderr();
    isToldAsThat = isToldAsThat || told == "There is not enough memory.\n";
    EXPECT_FALSE(told.empty());
  }
  EXPECT_TRUE(isToldAsThat);
}

}  // namespace
