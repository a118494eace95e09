// Saving by replacing the file.

#include <windows.h>

#include <limits>
#include <optional>
#include <random>

#include "common/expect/Told.h"
#include "common/failing/FailingCall.h"
#include "common/failing/InsteadOfSleep.h"
#include "common/failing/ShortWrites.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

const Image kOld = {{"a", "old"}, {"b", "kept"}, {"c", "3"}};
const Image kNew = {{"a", "new, longer"}, {"b", "kept"}, {"c", ""}};

// A code that does not mean that somebody has the file open.
constexpr DWORD kCode = ERROR_IO_DEVICE;

class MultisectionAtomicTest : public MultisectionTest {
 protected:
  MultisectionAtomicTest() { WriteImage(kOld); }

  static void SetNew(utl_MultisectionFile& file) {
    Set(file, "a", kNew[0].data);
    Set(file, "c", kNew[2].data);
  }

  static void ExpectNew(utl_MultisectionFile& file) {
    for (const ImageSection& section : kNew) {
      EXPECT_EQ(Get(file, section.name), section.data);
    }
  }

  const cow_String temporary_ =
      (file_ + "." + std::to_string(GetCurrentProcessId()) + ".tmp").c_str();
};

TEST_F(MultisectionAtomicTest, SavesAndGoesOnWithTheNewFile) {
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  SetNew(file);
  file.saveChangesAtomically();
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
  ExpectNew(file);

  Set(file, "d", "4");
  file.saveChanges();
  Set(file, "b", "");
  file.saveChangesAtomically();
  Set(file, "a", "1");
  file.saveChanges();
  EXPECT_EQ(Get(file, "d"), "4");
  EXPECT_EQ(ReadWholeFile(file_),
            BuildImage({{"a", "1"}, {"b", ""}, {"c", ""}, {"d", "4"}}));
}

TEST_F(MultisectionAtomicTest, SavesANewFile) {
  {
    utl_MultisectionFile file(dir_.File("new.dat").c_str(), utl_FileAccessWrite);
    Set(file, "a", "1");
    file.saveChangesAtomically();
    Set(file, "b", "2");
    file.saveChangesAtomically();
  }
  EXPECT_EQ(ReadWholeFile(dir_.File("new.dat")), BuildImage({{"a", "1"}, {"b", "2"}}));
  EXPECT_EQ(OtherFiles(), "new.dat");
}

TEST_F(MultisectionAtomicTest, WritesTheBytesOfAnOrdinarySave) {
  const std::string other = dir_.File("other.dat");
  std::mt19937 random(7);
  utl_MultisectionFile atomic(path_, utl_FileAccessWrite);
  utl_MultisectionFile ordinary(other.c_str(), utl_FileAccessWrite);
  for (int round = 0; round < 30; ++round) {
    for (auto sets = random() % 4; sets > 0; --sets) {
      const std::string name = "section " + std::to_string(random() % 10);
      const std::string data(random() % 100'000, static_cast<char>(random()));
      Set(atomic, name, data);
      Set(ordinary, name, data);
    }
    atomic.saveChangesAtomically();
    ordinary.saveChanges();
    ASSERT_TRUE(ReadWholeFile(file_) == ReadWholeFile(other)) << "round " << round;
  }
}

TEST_F(MultisectionAtomicTest, OtherWritersAreStillRefused) {
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  file.saveChangesAtomically();
  EXPECT_THROW_TEXT(
      utl_MultisectionFile(path_, utl_FileAccessUpdate), utl_FileExceptionOpen,
      utl_FileExceptionOpen(32, path_, "CreateFile in OpenUpdate").AsString());
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
  utl_MultisectionFile reader(path_, utl_FileAccessRead);
  EXPECT_EQ(Get(reader, "b"), "kept");
}

// On Linux a reader keeps the old file; where no file is replaced that others have open,
// it keeps the save from replacing it.
TEST_F(MultisectionAtomicTest, ReaderKeepsTheOldFile) {
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  SetNew(file);
  std::optional<utl_MultisectionFile> reader(std::in_place, path_, utl_FileAccessRead);
  std::vector<DWORD> pauses;
  const InsteadOfSleep sleep([&](DWORD milliseconds) { pauses.push_back(milliseconds); });
  try {
    file.saveChangesAtomically();
    EXPECT_EQ(pauses, std::vector<DWORD>());
    EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
  } catch (const utl_FileExceptionWrite& refusal) {
    EXPECT_EQ(refusal.AsString(),
              utl_FileExceptionWrite(5, path_, "MoveFileEx in Replace").AsString());
    EXPECT_EQ(pauses, std::vector<DWORD>(19, 10));
    EXPECT_EQ(ReadWholeFile(file_), BuildImage(kOld));
    EXPECT_EQ(OtherFiles(), "model.dat.lock");
  }
  EXPECT_EQ(Get(*reader, "a"), "old");
  EXPECT_EQ(Get(*reader, "c"), "3");
  ExpectNew(file);
  reader.reset();
  file.saveChangesAtomically();
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
}

// A first refusal is taken for an open file, which is closed and opened again.
TEST_F(MultisectionAtomicTest, FileThatWasInUseForAMomentIsReplaced) {
  for (const DWORD code : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_SHARING_VIOLATION}}) {
    WriteImage(kOld);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    SetNew(file);
    const FailingCall refusal(SystemCall::kMoveFileEx, code);
    file.saveChangesAtomically();
    EXPECT_TRUE(refusal.Happened());
    ExpectNew(file);
    EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
  }
}

TEST_F(MultisectionAtomicTest, DirectoryInTheFilesPlaceIsNotReplaced) {
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  SetNew(file);
  std::error_code error;
  if (!std::filesystem::remove(file_, error)) {
    GTEST_SKIP() << "nobody can delete an open file here";
  }
  std::filesystem::create_directory(file_);
  const InsteadOfSleep sleep([](DWORD) {});
  EXPECT_THROW_TEXT(file.saveChangesAtomically(), utl_FileExceptionWrite,
                    utl_FileExceptionWrite(5, path_, "MoveFileEx in Replace").AsString());
  ExpectNew(file);
  std::filesystem::remove(file_);
  file.saveChangesAtomically();
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
}

TEST_F(MultisectionAtomicTest, FileOpenForReadingIsNotReplaced) {
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  SetNew(file);
  EXPECT_THROW_TEXT(
      file.saveChangesAtomically(), utl_FileExceptionWrite,
      utl_FileExceptionWrite(path_, "attempt to write to a read-only file.").AsString());
  EXPECT_EQ(OtherFiles(), "");
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(kOld));
  ExpectNew(file);
}

TEST_F(MultisectionAtomicTest, SectionThatTheFileLacksChangesNothing) {
  const std::string damaged = ImageHeader(3) + ImageEntry({"a", "1"}) +
                              ImageEntry({"b", "lost"}) + ImageEntry({"c", "3"}) + "1";
  WriteWholeFile(file_, damaged);
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  SetNew(file);
  EXPECT_END_OF_FILE(file.saveChangesAtomically());
  EXPECT_EQ(ReadWholeFile(file_), damaged);
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
  EXPECT_EQ(Get(file, "a"), kNew[0].data);
  EXPECT_EQ(Get(file, "c"), kNew[2].data);
}

TEST_F(MultisectionAtomicTest, TotalBeyondTheLimitChangesNothing) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  const std::string bytes = ImageHeader(1) + ImageInt(1) + "a" +
                            ImageInt(kMax - 12 - 13 + 1) + ImageInt(0) + "...";
  WriteWholeFile(file_, bytes);
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  EXPECT_CONTENTS_ERROR(file.saveChangesAtomically(),
                        "Total size exceeds 2147483647 bytes");
  EXPECT_EQ(ReadWholeFile(file_), bytes);
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
}

TEST_F(MultisectionAtomicTest, FullDiskChangesNothing) {
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  SetNew(file);
  {
    const ShortWrites full(10);
    EXPECT_THROW_TEXT(file.saveChangesAtomically(), utl_FileExceptionFull,
                      utl_FileExceptionFull(temporary_).AsString());
  }
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(kOld));
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
  ExpectNew(file);
}

// Whatever fails, the file is the old or the new one, and the object can be used.
TEST_F(MultisectionAtomicTest, EveryCallOfASaveFailsOnce) {
  for (const SystemCall call :
       {SystemCall::kCloseHandle, SystemCall::kCreateFile, SystemCall::kDeleteFile,
        SystemCall::kFlushFileBuffers, SystemCall::kMoveFileEx,
        SystemCall::kMoveFileExAfterwards, SystemCall::kReadFile,
        SystemCall::kSetFilePointer, SystemCall::kWriteFile}) {
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
      SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", time " +
                   std::to_string(nth));
      WriteImage(kOld);
      {
        utl_MultisectionFile file(path_, utl_FileAccessUpdate);
        SetNew(file);
        std::optional<FailingCall> failure(std::in_place, call, kCode, nth);
        bool thrown = false;
        try {
          file.saveChangesAtomically();
        } catch (const nex_TextException&) {
          thrown = true;
        }
        happened = failure->Happened();
        failure.reset();
        EXPECT_TRUE(happened || nth > 1) << "no such call at all";
        EXPECT_TRUE(happened || !thrown);
        const bool isAfterwards =
            call == SystemCall::kCloseHandle || call == SystemCall::kMoveFileExAfterwards;
        EXPECT_EQ(ReadWholeFile(file_),
                  BuildImage(thrown && !isAfterwards ? kOld : kNew));
        EXPECT_EQ(OtherFiles(), "model.dat.lock");
        ExpectNew(file);
        file.saveChangesAtomically();
        ExpectNew(file);
        EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
      }
      EXPECT_EQ(OtherFiles(), "");
    }
  }
}

struct Failure {
  SystemCall call;
  int nth;
  std::string told;
};

TEST_F(MultisectionAtomicTest, FailuresAreThoseOfTheFileThatFailed) {
  const Failure failures[] = {
      {SystemCall::kDeleteFile, 1,
       Told(utl_FileExceptionOpen(kCode, temporary_, "CreateFile in OpenWrite"))},
      {SystemCall::kCreateFile, 1,
       Told(utl_FileExceptionOpen(kCode, temporary_, "CreateFile in OpenWrite"))},
      {SystemCall::kSetFilePointer, 1,
       Told(utl_FileExceptionSeek(kCode, path_, "SetFilePointer"))},
      {SystemCall::kReadFile, 1, Told(utl_FileExceptionRead(kCode, path_, "ReadFile"))},
      {SystemCall::kWriteFile, 1,
       Told(utl_FileExceptionWrite(kCode, temporary_, "WriteFile"))},
      {SystemCall::kFlushFileBuffers, 1,
       Told(utl_FileExceptionFlush(kCode, temporary_, "FlushFileBuffers"))},
      {SystemCall::kWriteFile, 2,
       Told(utl_FileExceptionWrite(kCode, path_, "WriteFile"))},
      {SystemCall::kMoveFileEx, 1,
       Told(utl_FileExceptionWrite(kCode, path_, "MoveFileEx in Replace"))},
      {SystemCall::kMoveFileExAfterwards, 1,
       Told(utl_FileExceptionFlush(kCode, path_, "MoveFileEx in Replace"))},
  };
  for (const Failure& failure : failures) {
    WriteImage(kOld);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    SetNew(file);
    const FailingCall failing(failure.call, kCode, failure.nth);
    try {
      file.saveChangesAtomically();
      ADD_FAILURE() << "not thrown: " << failure.told;
    } catch (const nex_TextException& thrown) {
      EXPECT_EQ(Told(thrown), failure.told);
    }
  }
}

// Where the old file is closed before it is replaced, nothing is left to be closed.
TEST_F(MultisectionAtomicTest, OldFileThatCannotBeClosedIsReportedAfterTheSave) {
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  SetNew(file);
  const FailingCall failure(SystemCall::kCloseHandle, ERROR_INVALID_HANDLE);
  try {
    file.saveChangesAtomically();
  } catch (const utl_FileExceptionClose& thrown) {
    EXPECT_EQ(thrown.AsString(),
              utl_FileExceptionClose(6, path_, "CloseHandle").AsString());
  }
  EXPECT_TRUE(failure.Happened());
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(kNew));
  ExpectNew(file);
}

}  // namespace
