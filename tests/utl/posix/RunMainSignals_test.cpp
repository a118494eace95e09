// The signals of POSIX that end a process which writes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string>

#include "common/child/ChildProcess.h"
#include "common/temp/TempDir.h"
#include "utl/utl_File.h"
#include "utl/utl_runMain.h"

namespace {

constexpr int kDone = 7;

TEST_CHILD(writesBeyondALimit) {
  return utl_runMain("prog", argc, argv, [&](const utl_CommandLine&) {
    const rlimit limit = {4, 4};
    setrlimit(RLIMIT_FSIZE, &limit);
    utl_File file(argv[1], utl_FileAccessWrite, utl_FileShareDefault);
    file.Write("1234", 4);
    file.Write("5", 1);
  });
}

TEST(RunMainSignalTest, LimitOfAFilesSizeIsAFailure) {
  const TempDir dir;
  ChildProcess child = ChildProcess::Start("writesBeyondALimit", {dir.File("a")});
  EXPECT_EQ(child.Wait(), 1) << "and the process is not ended by SIGXFSZ";
  EXPECT_EQ(ReadWholeFile(dir.File("a")), "1234");
}

TEST_CHILD(hasAHandlerOfItsOwn) {
  static volatile sig_atomic_t seen = 0;
  signal(SIGPIPE, [](int) { seen = 1; });
  utl_runMain("prog", argc, argv, [](const utl_CommandLine&) { raise(SIGPIPE); });
  return seen == 1 ? kDone : 0;
}

TEST(RunMainSignalTest, HandlerOfTheProgramsOwnStays) {
  EXPECT_EQ(ChildProcess::Start("hasAHandlerOfItsOwn").Wait(), kDone);
}

TEST_CHILD(printsToAFullDevice) {
  dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
  return utl_runMain("prog", argc, argv, [](const utl_CommandLine&) { puts("text"); });
}

TEST(RunMainSignalTest, OutputThatDoesNotFitIsAFailure) {
  EXPECT_EQ(ChildProcess::Start("printsToAFullDevice").Wait(), 1);
}

}  // namespace
