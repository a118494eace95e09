// What only Linux tells of other processes.

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/temp/TempDir.h"
#include "thr/thr_currentProcess.h"
#include "utl/utl_File.h"
#include "utl/utl_processes.h"

namespace {

TEST(PosixProcessesTest, ReaderOfAFileIsNoWriter) {
  const TempDir dir;
  WriteWholeFile(dir.File("a"), "");
  utl_File reader(dir.File("a"), utl_FileAccessRead, utl_FileShareDefault);
  reader.Init();
  EXPECT_TRUE(utl_findWriters(dir.File("a")).empty());
  utl_File writer(dir.File("a"), utl_FileAccessUpdate, utl_FileShareDefault);
  writer.Init();
  ASSERT_EQ(utl_findWriters(dir.File("a")).size(), 1u);
  EXPECT_EQ(utl_findWriters(dir.File("a"))[0].number, thr_currentProcess());
}

TEST(PosixProcessesTest, ProcessHasEndedBeforeItsParentAsks) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(0);
  }
  siginfo_t ended;
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
  EXPECT_FALSE(utl_findProcess(static_cast<std::uint32_t>(child)));
  waitpid(child, nullptr, 0);
}

TEST(PosixProcessesTest, NameOfAProcessMayHoldAnything) {
  char before[16];
  prctl(PR_GET_NAME, before);
  prctl(PR_SET_NAME, "a) Z (\n");
  const std::optional<utl_Process> found = utl_findProcess(thr_currentProcess());
  prctl(PR_SET_NAME, before);
  ASSERT_TRUE(found) << "its state was read from its name";
  EXPECT_EQ(found->name, "utl_tests");
}

}  // namespace
