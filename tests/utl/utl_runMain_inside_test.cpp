// What stops a program that writes: a reader that has gone, and what it may not write.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <io.h>
#include <unistd.h>

#include <filesystem>

#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "common/handle/Pipe.h"
#include "common/temp/TempDir.h"
#include "utl/utl_BinStream.h"
#include "utl/utl_File.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_runMain.h"

namespace {

TEST_CHILD(writesToAPipeWithoutAReader) {
  return utl_runMain("prog", argc, argv, [](const utl_CommandLine&) {
    Pipe pipe;
    pipe.CloseReader();
    utl_BinOStream(pipe.Writer(), omi_Swapper::kLittleEndian).WriteInt(1);
  });
}

TEST(RunMainWritingTest, PipeWithoutAReaderIsAFailure) {
  ChildProcess child = ChildProcess::Start("writesToAPipeWithoutAReader");
  EXPECT_EQ(child.Wait(), 1) << "and the process is not ended by a signal";
}

constexpr int kNoOtherUser = 2;

TEST_CHILD(updatesAFile) {
  if (!BecomeOtherUser()) {
    return kNoOtherUser;
  }
  dup2(STDOUT_FILENO, STDERR_FILENO);
  return utl_runMain("prog", argc, argv, [&](const utl_CommandLine&) {
    utl_File(argv[1], utl_FileAccessUpdate, utl_FileShareDefault).Init();
  });
}

TEST(RunMainWritingTest, ReadOnlyTargetIsTold) {
  const TempDir dir;
  const std::string path = dir.File("a.dat");
  WriteWholeFile(path, "");
  AllowCreation(dir.Path());  // and everybody may look into it
  std::filesystem::permissions(path, std::filesystem::perms(0444));
  ChildProcess child = ChildProcess::Start("updatesAFile", {path});
  const std::string failure = child.ReadLine();
  const std::string advice = child.ReadLine();
  const int status = child.Wait();
  if (status == kNoOtherUser) {
    GTEST_SKIP() << "root may write whatever is read-only, and there is no other user";
  }
  EXPECT_EQ(status, 1);
  EXPECT_THAT(failure, testing::StartsWith("prog: *** Error: File open failed"));
  EXPECT_EQ(advice, "prog: " + utl_nativePath(path).string() + " must permit writing");
}

}  // namespace
