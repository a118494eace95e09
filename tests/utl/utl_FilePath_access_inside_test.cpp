// What a path asks of the system where it may not write.

#include <gtest/gtest.h>

#include <filesystem>

#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/failing/FailingCall.h"
#include "common/failing/WatchedFileCalls.h"
#include "common/temp/TempDir.h"
#include "utl/utl_FilePath.h"

namespace {

TEST(FilePathAccessTest, IsWriteableTriesAFileThatGoesWithItsHandle) {
  TempDir dir;
  EXPECT_TRUE(utl_FilePath("new.dat", cow_String(dir.ShownPath())).IsWriteable());
  EXPECT_EQ(LastCreateFile(),
            (CreateFileArguments{0x40000000, 0, 1, 0x4000100, false, false}));
}

TEST(FilePathAccessTest, NothingIsTriedWhereTheFileExists) {
  TempDir dir;
  WriteWholeFile(dir.File("f"), "kept");
  const FailingCall create(SystemCall::kCreateFile, ERROR_ACCESS_DENIED);
  EXPECT_TRUE(utl_FilePath("f", cow_String(dir.ShownPath())).IsWriteable());
  EXPECT_FALSE(create.Happened());
  EXPECT_EQ(ReadWholeFile(dir.File("f")), "kept");
}

// Not even root makes files there.
TEST(FilePathAccessTest, DirectoryWhereNobodyWritesIsNotWriteable) {
  EXPECT_FALSE(utl_FilePath("new.dat", "Z:\\sys\\kernel").IsWriteable());
}

TEST_CHILD(tryReadOnlyDirectory) {
  if (!BecomeOtherUser()) {
    return 2;
  }
  return utl_FilePath("new.dat", argv[1]).IsWriteable() ? 1 : 0;
}

TEST(FilePathAccessTest, ReadOnlyDirectoryIsNotWriteableAndGetsNoFile) {
  TempDir dir;
  ForbidCreation(dir.Path());
  const int result =
      ChildProcess::Start("tryReadOnlyDirectory", {dir.ShownPath()}).Wait();
  AllowCreation(dir.Path());
  EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
  if (result == 2) {
    GTEST_SKIP() << "no other user than root to be had on this target";
  }
  EXPECT_EQ(result, 0);
}

TEST(FilePathAccessTest, NamesThatComeDownToATrailingSeparator) {
  TempDir dir;
  WriteWholeFile(dir.File("a"), "");
  std::filesystem::create_directory(dir.File("dir"));
  const auto path = [&](const char* name) {
    return utl_FilePath(name, cow_String(dir.ShownPath()));
  };
  EXPECT_FALSE(path("dir\\ ").IsDir());
  EXPECT_TRUE(path("dir\\ ").Exists());
  EXPECT_TRUE(path("dir ").IsDir());
  for (const char* none : {"a\\ ", "a\\...", "a \\x", "no\\ "}) {
    EXPECT_FALSE(path(none).Exists()) << none;
    EXPECT_FALSE(path(none).IsReadable()) << none;
    EXPECT_FALSE(path(none).IsWriteable()) << none;
  }
  for (const char* same : {"a..\\.", "a \\.", "a.", "a ", "A. ."}) {
    EXPECT_TRUE(path(same).Exists()) << same;
    EXPECT_TRUE(path(same).IsWriteable()) << same;
    EXPECT_FALSE(path(same).IsDir()) << same;
  }
  EXPECT_TRUE(path("no ").IsWriteable());
}

TEST(FilePathAccessTest, LetterCaseOfVariablesDoesNotMatter) {
  const ScopedEnvironment variable("KST_FilePath", "value");
  EXPECT_EQ(utl_FilePath("$kst_filepath\\%Kst_FILEPATH%.x", "Z:\\").PathName(),
            "value\\value.x");
}

TEST(FilePathAccessTest, RefusedQuestionsAreAnsweredByFalse) {
  TempDir dir;
  WriteWholeFile(dir.File("run.exe"), "");
  const utl_FilePath path("run.exe", cow_String(dir.ShownPath()));
  const auto refused = [&](bool (utl_FilePath::*query)() const) {
    const FailingCall failing(SystemCall::kAccess, ERROR_ACCESS_DENIED);
    return !(path.*query)() && failing.Happened();
  };
  EXPECT_TRUE(refused(&utl_FilePath::Exists));
  EXPECT_TRUE(refused(&utl_FilePath::IsReadable));
  EXPECT_TRUE(refused(&utl_FilePath::IsExecutable));
}

}  // namespace
