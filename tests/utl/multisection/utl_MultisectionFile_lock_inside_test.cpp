// Who may have the file open when, and what the lock file does.

#include <vector>

#include "common/child/ChildProcess.h"
#include "common/failing/InsteadOfSleep.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

using MultisectionLockTest = MultisectionTest;

constexpr char kLocked[] = "Cannot create the lock file.";

TEST_F(MultisectionLockTest, LockFileExistsWhileOpenForUpdate) {
  WriteImage({});
  {
    const utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    EXPECT_EQ(OtherFiles(), "model.dat.lock");
    EXPECT_EQ(ReadWholeFile(lock_), "");
  }
  EXPECT_EQ(OtherFiles(), "");
}

TEST_F(MultisectionLockTest, LockFileExistsWhileOpenForWriting) {
  {
    const utl_MultisectionFile file(path_, utl_FileAccessWrite);
    EXPECT_EQ(OtherFiles(), "model.dat.lock");
  }
  EXPECT_EQ(OtherFiles(), "");
}

TEST_F(MultisectionLockTest, ReaderTakesNoLock) {
  WriteImage({});
  const utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(OtherFiles(), "");
}

TEST_F(MultisectionLockTest, LeftOverLockRefusesUpdateAndStays) {
  WriteImage({{"a", "1"}});
  WriteWholeFile(lock_, "");
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessUpdate), kLocked);
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "1"}}));
}

TEST_F(MultisectionLockTest, GivesUpAfterTenAttemptsTenMillisecondsApart) {
  WriteImage({});
  WriteWholeFile(lock_, "");
  std::vector<DWORD> pauses;
  const InsteadOfSleep sleep([&](DWORD milliseconds) { pauses.push_back(milliseconds); });
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessUpdate), kLocked);
  EXPECT_EQ(pauses, std::vector<DWORD>(10, 10));
}

TEST_F(MultisectionLockTest, TheTenthAttemptIsTheLast) {
  WriteImage({});
  for (const int freedAfter : {9, 10}) {
    WriteWholeFile(lock_, "");
    int pauses = 0;
    const InsteadOfSleep sleep([&](DWORD) {
      if (++pauses == freedAfter) {
        std::filesystem::remove(lock_);
      }
    });
    if (freedAfter == 9) {
      const utl_MultisectionFile file(path_, utl_FileAccessUpdate);
      EXPECT_EQ(OtherFiles(), "model.dat.lock");
    } else {
      EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessUpdate), kLocked);
    }
    EXPECT_EQ(OtherFiles(), "");
  }
}

TEST_F(MultisectionLockTest, SecondWriterIsRefusedByTheShareMode) {
  for (const utl_FileAccess access : {utl_FileAccessUpdate, utl_FileAccessWrite}) {
    WriteImage({{"a", "1"}});
    utl_MultisectionFile first(path_, access);
    EXPECT_THROW_TEXT(
        utl_MultisectionFile(path_, utl_FileAccessUpdate), utl_FileExceptionOpen,
        utl_FileExceptionOpen(32, path_, "CreateFile in OpenUpdate").AsString());
    EXPECT_THROW_TEXT(
        utl_MultisectionFile(path_, utl_FileAccessWrite), utl_FileExceptionOpen,
        utl_FileExceptionOpen(32, path_, "CreateFile in OpenWrite").AsString());
    EXPECT_EQ(first.hasSection("a"), access == utl_FileAccessUpdate);
    EXPECT_EQ(OtherFiles(), "model.dat.lock");
    if (access == utl_FileAccessUpdate) {
      EXPECT_EQ(Get(first, "a"), "1");
    }
  }
}

// Somebody saves atomically between the opening of the file and its locking.
TEST_F(MultisectionLockTest, FileThatWasReplacedBeforeItWasLockedIsOpenedAnew) {
  for (const utl_FileAccess access : {utl_FileAccessUpdate, utl_FileAccessWrite}) {
    WriteImage({{"a", "old"}});
    WriteWholeFile(lock_, "");
    const std::string fresh = dir_.File("fresh");
    WriteWholeFile(fresh, BuildImage({{"a", "new"}, {"b", "2"}}));
    std::error_code error;
    const InsteadOfSleep sleep([&](DWORD) {
      std::filesystem::rename(fresh, file_, error);
      std::filesystem::remove(lock_);
    });
    utl_MultisectionFile file(path_, access);
    if (error) {
      GTEST_SKIP() << "nobody can replace an open file here: " << error.message();
    }
    EXPECT_EQ(file.hasSection("b"), access == utl_FileAccessUpdate);
    Set(file, "c", "3");
    file.saveChanges();
    EXPECT_EQ(ReadWholeFile(file_),
              access == utl_FileAccessUpdate
                  ? BuildImage({{"a", "new"}, {"b", "2"}, {"c", "3"}})
                  : BuildImage({{"c", "3"}}));
  }
}

TEST_F(MultisectionLockTest, DirectoryInTheLocksPlaceRefusesUpdateAndStays) {
  WriteImage({});
  std::filesystem::create_directory(lock_);
  const InsteadOfSleep sleep([](DWORD) {});
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessUpdate), kLocked);
  EXPECT_TRUE(std::filesystem::is_directory(lock_));
}

// An access that opens nothing leaves nothing to close either.
// Whether it leads to a file, to nothing, or to itself.
TEST_F(MultisectionLockTest, LinkInTheLocksPlaceIsNotFollowed) {
  WriteImage({{"a", "1"}});
  const InsteadOfSleep sleep([](DWORD) {});
  const std::string victim = dir_.File("victim");
  WriteWholeFile(victim, "untouched");
  for (const std::string& target : {victim, dir_.File("nothing"), lock_}) {
    std::error_code error;
    std::filesystem::create_symlink(target, lock_, error);
    if (error) {
      GTEST_SKIP() << "no links here: " << error.message();
    }
    EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessUpdate), kLocked);
    EXPECT_EQ(ReadWholeFile(victim), "untouched");
    EXPECT_FALSE(FileExists(dir_.File("nothing")));
    EXPECT_TRUE(std::filesystem::is_symlink(lock_)) << "somebody else's";
    std::filesystem::remove(lock_);
  }
}

TEST_F(MultisectionLockTest, LeftOverLockRefusesAnyOtherAccess) {
  WriteWholeFile(lock_, "");
  const InsteadOfSleep sleep([](DWORD) {});
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, static_cast<utl_FileAccess>(3)),
                        kLocked);
}

TEST_F(MultisectionLockTest, LeftOverLockIsIgnoredByAReader) {
  WriteImage({{"a", "1"}});
  WriteWholeFile(lock_, "");
  {
    utl_MultisectionFile file(path_, utl_FileAccessRead);
    EXPECT_EQ(Get(file, "a"), "1");
  }
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
}

TEST_F(MultisectionLockTest, WritingEmptiesTheFileBeforeItIsLocked) {
  WriteImage({{"a", "1"}});
  WriteWholeFile(lock_, "");
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessWrite), kLocked);
  EXPECT_EQ(ReadWholeFile(file_), "");
}

TEST_F(MultisectionLockTest, FailedOpeningRemovesItsLock) {
  WriteWholeFile(file_, "not a multisection file");
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessUpdate),
                        "Invalid file type");
  EXPECT_EQ(OtherFiles(), "");
  WriteImage({});
  const utl_MultisectionFile again(path_, utl_FileAccessUpdate);
}

TEST_F(MultisectionLockTest, ReaderBesideAWriter) {
  WriteImage({{"a", "1"}});
  utl_MultisectionFile writer(path_, utl_FileAccessUpdate);
  utl_MultisectionFile reader(path_, utl_FileAccessRead);
  EXPECT_EQ(Get(reader, "a"), "1");
  Set(writer, "a", "2");
  writer.saveChanges();
  utl_MultisectionFile later(path_, utl_FileAccessRead);
  EXPECT_EQ(Get(later, "a"), "2");
}

// Opens for update and keeps the file open until told to end.
TEST_CHILD(holdMultisectionFile) {
  const utl_MultisectionFile file(argv[1], utl_FileAccessUpdate);
  ChildWriteLine("open");
  ChildReadLine();
  return 0;
}

TEST_F(MultisectionLockTest, OtherProcessHoldsTheFile) {
  WriteImage({{"a", "1"}});
  ChildProcess child = ChildProcess::Start("holdMultisectionFile", {file_});
  ASSERT_EQ(child.ReadLine(), "open");
  EXPECT_THROW_TEXT(
      utl_MultisectionFile(path_, utl_FileAccessUpdate), utl_FileExceptionOpen,
      utl_FileExceptionOpen(32, path_, "CreateFile in OpenUpdate").AsString());
  {
    utl_MultisectionFile reader(path_, utl_FileAccessRead);
    EXPECT_EQ(Get(reader, "a"), "1");
  }
  child.WriteLine("end");
  EXPECT_EQ(child.Wait(), 0);
  EXPECT_EQ(OtherFiles(), "");
  const utl_MultisectionFile now(path_, utl_FileAccessUpdate);
}

TEST_F(MultisectionLockTest, KilledProcessLeavesItsLock) {
  WriteImage({{"a", "1"}});
  ChildProcess child = ChildProcess::Start("holdMultisectionFile", {file_});
  ASSERT_EQ(child.ReadLine(), "open");
  child.Kill();
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessUpdate), kLocked);
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
}

}  // namespace
