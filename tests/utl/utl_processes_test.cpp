#include "utl/utl_processes.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>

#include "common/child/ChildProcess.h"
#include "common/child/WritersAreTold.h"
#include "common/temp/TempDir.h"
#include "thr/thr_currentProcess.h"
#include "utl/utl_File.h"

namespace {

TEST_CHILD(holdFileOpen) {
  const bool isWriter = std::string(argv[2]) == "write";
  utl_File file(argv[1], isWriter ? utl_FileAccessUpdate : utl_FileAccessRead,
                utl_FileShareDefault);
  file.Init();
  ChildWriteLine(std::to_string(thr_currentProcess()));
  ChildReadLine();
  return 0;
}

// What the child, which has the file open, has told.
std::uint32_t NumberOf(ChildProcess& child) {
  return static_cast<std::uint32_t>(std::stoul(child.ReadLine()));
}

TEST(ProcessesTest, ThisProcessIsFound) {
  const std::optional<utl_Process> found = utl_findProcess(thr_currentProcess());
  ASSERT_TRUE(found);
  EXPECT_EQ(found->number, thr_currentProcess());
  EXPECT_TRUE(std::string_view(found->name).starts_with("utl_tests")) << found->name;
}

TEST(ProcessesTest, ProcessIsFoundUntilItEnds) {
  const TempDir dir;
  WriteWholeFile(dir.File("a"), "");
  ChildProcess child = ChildProcess::Start("holdFileOpen", {dir.File("a"), "read"});
  const std::uint32_t number = NumberOf(child);
  EXPECT_TRUE(utl_findProcess(number));
  child.Kill();
  EXPECT_FALSE(utl_findProcess(number));
}

TEST(ProcessesTest, NoProcessHasTheseNumbers) {
  for (const std::uint32_t number :
       {std::uint32_t{0}, std::uint32_t{0x7fffffff}, std::uint32_t{0x80000000},
        std::numeric_limits<std::uint32_t>::max(),
        // Windows takes it for the number without the last bits.
        thr_currentProcess() + 0x40000001}) {
    EXPECT_FALSE(utl_findProcess(number)) << number;
  }
}

TEST(ProcessesTest, WriterOfAFileIsToldUntilItEnds) {
  if (!WritersAreTold()) {
    GTEST_SKIP() << "the system does not tell who has a file open";
  }
  const TempDir dir;
  WriteWholeFile(dir.File("a"), "");
  EXPECT_TRUE(utl_findWriters(dir.File("a")).empty());
  ChildProcess child = ChildProcess::Start("holdFileOpen", {dir.File("a"), "write"});
  const std::uint32_t number = NumberOf(child);
  const std::vector<utl_Process> writers = utl_findWriters(dir.File("a"));
  ASSERT_EQ(writers.size(), 1u);
  EXPECT_EQ(writers[0].number, number);
  EXPECT_TRUE(std::string_view(writers[0].name).starts_with("utl_tests"));
  child.Kill();
  EXPECT_TRUE(utl_findWriters(dir.File("a")).empty());
}

TEST(ProcessesTest, FileThatIsNotThereHasNoWriters) {
  EXPECT_TRUE(utl_findWriters("no/such/file").empty());
}

}  // namespace
