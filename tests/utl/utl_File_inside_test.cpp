#include "utl/utl_File.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

#include "common/child/ChildProcess.h"
#include "common/failing/WatchedFileCalls.h"
#include "common/handle/BytesOnDisk.h"
#include "common/handle/Pipe.h"
#include "common/temp/TempDir.h"
#include "FileTexts.h"
#include "utl/utl_IOTracker.h"

namespace {

constexpr std::int64_t kGiB = std::int64_t{1} << 30;

static_assert(!std::is_copy_constructible_v<utl_File>);
static_assert(!std::is_copy_assignable_v<utl_File>);
static_assert(!std::is_nothrow_destructible_v<utl_File>);
static_assert(sizeof(utl_FileAccess) == 4 && sizeof(utl_FileSharing) == 4);
static_assert(utl_FileAccessRead == 0 && utl_FileAccessUpdate == 1 &&
              utl_FileAccessWrite == 2);
static_assert(utl_FileShareDefault == 0 && utl_FileShareRead == 1 &&
              utl_FileShareReadWrite == 2);

class FileTest : public testing::Test {
 protected:
  std::string Contents() const { return ReadWholeFile(path_); }
  void SetContents(const std::string& bytes) { WriteWholeFile(path_, bytes); }

  TempDir dir_;
  std::string path_ = dir_.File("job.dat");
  cow_String name_ = path_.c_str();
};

std::string ReadAll(utl_File& file, int count) {
  std::string bytes(static_cast<std::size_t>(count), '?');
  bytes.resize(static_cast<std::size_t>(file.Read(bytes.data(), count)));
  return bytes;
}

TEST_F(FileTest, TheFirstOperationOpensTheFileAndTheConstructorDoesNot) {
  { const utl_File unused(name_, utl_FileAccessWrite, utl_FileShareDefault); }
  EXPECT_FALSE(FileExists(path_));
  const utl_File file(name_, utl_FileAccessWrite, utl_FileShareDefault);
  EXPECT_EQ(file.FileSize(), 0);
  EXPECT_TRUE(FileExists(path_));
}

TEST_F(FileTest, EveryOperationOpensTheFile) {
  const auto opened = [&](auto operation) {
    SetContents("0123456789");
    utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
    operation(file);
    SetContents("changed behind an open handle");
    return file.FileSize() == 29;
  };
  char byte = 'x';
  EXPECT_TRUE(opened([](utl_File& file) { file.Init(); }));
  EXPECT_TRUE(opened([](utl_File& file) { file.Seek(3); }));
  EXPECT_TRUE(opened([](utl_File& file) { EXPECT_EQ(file.Location(), 0); }));
  EXPECT_TRUE(opened([](utl_File& file) { file.Flush(); }));
  EXPECT_TRUE(opened([&](utl_File& file) { EXPECT_EQ(file.Read(&byte, 1), 1); }));
  EXPECT_TRUE(opened([&](utl_File& file) { EXPECT_EQ(file.Write(&byte, 1), 1); }));
  EXPECT_TRUE(
      opened([&](utl_File& file) { EXPECT_EQ(file.WriteShortAllowed(&byte, 1), 1); }));
  EXPECT_TRUE(opened([](utl_File& file) { EXPECT_EQ(file.FileSize(), 10); }));
  EXPECT_TRUE(opened([](utl_File& file) { file.Extend(50); }));
}

struct OpenCase {
  utl_FileAccess access;
  utl_FileSharing sharing;
  DWORD expectedAccess;
  DWORD expectedShares;
  DWORD expectedCreation;
};

TEST_F(FileTest, WhatTheSystemIsAskedForByAccessAndSharing) {
  const OpenCase cases[] = {
      {utl_FileAccessRead, utl_FileShareDefault, 0x80000000, 3, 3},
      {utl_FileAccessRead, utl_FileShareRead, 0x80000000, 1, 3},
      {utl_FileAccessRead, utl_FileShareReadWrite, 0x80000000, 3, 3},
      {utl_FileAccessUpdate, utl_FileShareDefault, 0xC0000000, 1, 3},
      {utl_FileAccessUpdate, utl_FileShareRead, 0xC0000000, 1, 3},
      {utl_FileAccessUpdate, utl_FileShareReadWrite, 0xC0000000, 3, 3},
      {utl_FileAccessWrite, utl_FileShareDefault, 0xC0000000, 1, 2},
      {utl_FileAccessWrite, utl_FileShareRead, 0xC0000000, 1, 2},
      {utl_FileAccessWrite, utl_FileShareReadWrite, 0xC0000000, 3, 2},
  };
  SetContents("0123456789");
  for (const OpenCase& expected : cases) {
    SCOPED_TRACE(testing::Message() << expected.access << ' ' << expected.sharing);
    utl_File file;
    file.Open(name_, expected.access, expected.sharing);
    EXPECT_EQ(LastCreateFile(),
              (CreateFileArguments{expected.expectedAccess, expected.expectedShares,
                                   expected.expectedCreation, 0x10000080, false, false}));
  }
}

TEST_F(FileTest, WithoutArgumentsItIsForReadingWithWritersAtTheSideAndHasNoName) {
  utl_File file;
  EXPECT_FILE_ERROR(
      file.Init(), utl_FileExceptionOpen,
      CallText("*** Error: File open failed", "CreateFile in OpenRead", 3, ""));
  EXPECT_EQ(LastCreateFile(),
            (CreateFileArguments{0x80000000, 3, 3, 0x10000080, false, false}));
}

TEST_F(FileTest, MovedFileIsTheOtherObjects) {
  utl_File first(name_, utl_FileAccessWrite, utl_FileShareDefault);
  first.Write("ab", 2);
  utl_File second = std::move(first);
  second.Write("cd", 2);
  EXPECT_EQ(Contents(), "abcd");
  // NOLINTNEXTLINE(bugprone-use-after-move): it is told what it is then
  EXPECT_THROW(first.Init(), nex_TextException) << "no file any more";
  {
    const std::string other = dir_.File("other.dat");
    utl_File third(other.c_str(), utl_FileAccessWrite, utl_FileShareDefault);
    third.Init();
    second = std::move(third);
  }
  second.Write("x", 1);
  EXPECT_EQ(ReadWholeFile(dir_.File("other.dat")), "x");
  utl_File(name_, utl_FileAccessWrite, utl_FileShareDefault).Init();  // it is closed
}

TEST_F(FileTest, SharingIsAsymmetric) {
  SetContents("0123456789");
  const auto refused =
      CallText("*** Error: File open failed", "CreateFile in OpenUpdate", 32, path_);
  utl_File second(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
  {
    utl_File reader;
    reader.Open(name_, utl_FileAccessRead, utl_FileShareRead);
    EXPECT_FILE_ERROR(second.Init(), utl_FileExceptionOpen, refused);
  }
  {
    utl_File writer;
    writer.Open(name_, utl_FileAccessUpdate, utl_FileShareDefault);
    EXPECT_FILE_ERROR(second.Init(), utl_FileExceptionOpen, refused);
    utl_File reader;
    reader.Open(name_, utl_FileAccessRead, utl_FileShareDefault);
    EXPECT_EQ(reader.FileSize(), 10);
  }
  {
    utl_File reader;
    reader.Open(name_, utl_FileAccessRead, utl_FileShareDefault);
    utl_File writer;
    writer.Open(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
    second.Init();
    EXPECT_EQ(second.FileSize(), 10);
  }
}

TEST_F(FileTest, OpeningForWritingCreatesAndTruncates) {
  for (const char* bytes : {"first", "2nd"}) {
    utl_File file(name_, utl_FileAccessWrite, utl_FileShareDefault);
    EXPECT_EQ(file.FileSize(), 0);
    const int count = static_cast<int>(std::string(bytes).size());
    EXPECT_EQ(file.Write(bytes, count), count);
    file.Seek(0);
    EXPECT_EQ(ReadAll(file, 10), bytes);
  }
  EXPECT_EQ(Contents(), "2nd");
}

TEST_F(FileTest, UpdatingKeepsTheContents) {
  SetContents("0123456789");
  {
    utl_File file(name_, utl_FileAccessUpdate, utl_FileShareDefault);
    EXPECT_EQ(ReadAll(file, 3), "012");
    EXPECT_EQ(file.Write("abc", 3), 3);
    EXPECT_EQ(file.Location(), 6);
    EXPECT_EQ(file.WriteShortAllowed("de", 2), 2);
    file.Flush();
  }
  EXPECT_EQ(Contents(), "012abcde89");
}

TEST_F(FileTest, BytesAreKeptAsTheyAre) {
  std::string bytes;
  for (int value = 0; value < 256; ++value) {
    bytes += static_cast<char>(value);
  }
  bytes += "\r\n\n\x1a";
  const int count = static_cast<int>(bytes.size());
  utl_File file(name_, utl_FileAccessWrite, utl_FileShareDefault);
  EXPECT_EQ(file.Write(bytes.data(), count), count);
  EXPECT_EQ(file.FileSize(), count);
  file.Seek(0);
  EXPECT_EQ(ReadAll(file, count + 1), bytes);
}

TEST_F(FileTest, ReadingGivesWhatIsThereAndNothingAtTheEnd) {
  SetContents("0123456789");
  utl_File file(name_, utl_FileAccessRead, utl_FileShareDefault);
  EXPECT_EQ(ReadAll(file, 0), "");
  EXPECT_EQ(ReadAll(file, 4), "0123");
  EXPECT_EQ(ReadAll(file, 100), "456789");
  EXPECT_EQ(ReadAll(file, 100), "");
  file.Seek(1000);
  EXPECT_EQ(ReadAll(file, 100), "");
}

TEST_F(FileTest, WritingNothingSucceeds) {
  utl_File file(name_, utl_FileAccessWrite, utl_FileShareDefault);
  EXPECT_EQ(file.Write("", 0), 0);
  EXPECT_EQ(file.WriteShortAllowed("", 0), 0);
  EXPECT_EQ(file.FileSize(), 0);
}

TEST_F(FileTest, SeekingBehindTheEndChangesNothingUntilAWrite) {
  SetContents("0123456789");
  utl_File file(name_, utl_FileAccessUpdate, utl_FileShareDefault);
  file.Seek(20);
  EXPECT_EQ(file.Location(), 20);
  EXPECT_EQ(file.FileSize(), 10);
  file.Write("x", 1);
  EXPECT_EQ(file.FileSize(), 21);
  EXPECT_EQ(Contents(), "0123456789" + std::string(10, '\0') + "x");
}

TEST_F(FileTest, OffsetsAbove4GiB) {
  utl_File file(name_, utl_FileAccessWrite, utl_FileShareDefault);
  file.Seek(5 * kGiB + 7);
  EXPECT_EQ(file.Location(), 5 * kGiB + 7);
  file.Write("far", 3);
  EXPECT_EQ(file.Location(), 5 * kGiB + 10);
  EXPECT_EQ(file.FileSize(), 5 * kGiB + 10);

  file.Seek(5 * kGiB + 7);
  file.Extend(5 * kGiB + 5000);
  EXPECT_EQ(file.FileSize(), 5 * kGiB + 5000);
  EXPECT_EQ(file.Location(), 5 * kGiB + 7);
  EXPECT_EQ(ReadAll(file, 4), std::string("far\0", 4));

  file.Seek(3 * kGiB);
  EXPECT_EQ(file.Location(), 3 * kGiB) << "a low half with its highest bit set";
  file.Extend(5 * kGiB + 8);
  EXPECT_EQ(file.FileSize(), 5 * kGiB + 8);
  file.Seek(5 * kGiB + 4);
  EXPECT_EQ(ReadAll(file, 9), std::string("\0\0\0f", 4));
}

// A low half of all ones is how the system shows a failure; an error that an earlier call
// left behind must not make it one.
TEST_F(FileTest, OffsetsWhoseLowHalfIsAllOnes) {
  constexpr std::int64_t kAllOnes = 0xFFFFFFFF;
  utl_File file(name_, utl_FileAccessWrite, utl_FileShareDefault);
  file.Init();
  for (const std::int64_t offset : {kAllOnes, kAllOnes + 4 * kGiB}) {
    SCOPED_TRACE(offset);
    file.Seek(offset - 1000);
    file.Write("x", 1);  // so that few blocks are taken
    SetLastError(ERROR_ACCESS_DENIED);
    file.Seek(offset);
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(file.Location(), offset);
    SetLastError(ERROR_ACCESS_DENIED);
    file.Extend(offset);
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(file.FileSize(), offset);
    EXPECT_EQ(file.Location(), offset);
  }
}

TEST_F(FileTest, ExtendToTheSameSizeChangesNothing) {
  SetContents("0123456789");
  utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
  file.Seek(3);
  file.Extend(10);
  EXPECT_EQ(file.Location(), 3);
  EXPECT_EQ(file.FileSize(), 10);
  EXPECT_EQ(Contents(), "0123456789");
}

TEST_F(FileTest, ExtendMakesLongerAndShorter) {
  SetContents("0123456789");
  utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
  file.Seek(9);
  file.Extend(12);
  EXPECT_EQ(Contents(), std::string("0123456789\0\0", 12));
  file.Extend(7);
  EXPECT_EQ(Contents(), "0123456");
  file.Extend(4);
  EXPECT_EQ(Contents(), "0123");
  EXPECT_EQ(file.Location(), 9);
}

TEST_F(FileTest, ExtendTakesTheBlocksOfWhatItAdds) {
  constexpr std::int64_t kSize = std::int64_t{5} << 20;
  SetContents("0123456789");
  utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
  file.Extend(kSize);
  EXPECT_GE(BytesOnDisk(path_), kSize);
  // What is far behind the end gets no blocks before it.
  file.Seek(kSize * 100);
  file.Write("x", 1);
  EXPECT_EQ(file.FileSize(), kSize * 100 + 1);
  file.Extend(kSize * 101);
  EXPECT_GE(BytesOnDisk(path_), kSize * 2);
  file.Seek(0);
  EXPECT_EQ(ReadAll(file, 12), std::string("0123456789\0\0", 12));
}

TEST_F(FileTest, ExtendIsNotInterrupted) {
  const Interruptions interruptions;
  utl_File file(name_, utl_FileAccessWrite, utl_FileShareReadWrite);
  for (int i = 1; i <= 50; ++i) {
    file.Extend(i << 20);
  }
  EXPECT_EQ(file.FileSize(), 50 << 20);
  EXPECT_GE(BytesOnDisk(path_), 50 << 20);
}

TEST_F(FileTest, ExtendBelowFourFailsAfterTheSizeWasSet) {
  for (int size = 3; size >= 0; --size) {
    SCOPED_TRACE(size);
    SetContents("0123456789");
    utl_File file(name_, utl_FileAccessUpdate, utl_FileShareReadWrite);
    EXPECT_FILE_ERROR(
        file.Extend(size), utl_FileExceptionExtend,
        CallText("*** Error: Extend failed", "SetFilePointer 3", 131, path_));
    EXPECT_EQ(Contents(), std::string("0123456789", static_cast<std::size_t>(size)));
  }
}

// A second Open of an open object renames it for checks and messages, but keeps its file.
TEST_F(FileTest, OpeningAgainKeepsTheHandle) {
  SetContents("0123456789");
  utl_File file(name_, utl_FileAccessRead, utl_FileShareDefault);
  EXPECT_EQ(file.FileSize(), 10);
  file.Open("another", utl_FileAccessUpdate, utl_FileShareDefault);
  EXPECT_EQ(ReadAll(file, 4), "0123");
  EXPECT_FILE_ERROR(file.Write("x", 1), utl_FileExceptionWrite,
                    CallText("*** Error: Write failed", "WriteFile", 5, "another"));
  EXPECT_FILE_ERROR(
      file.Extend(-1), utl_FileExceptionExtend,
      CallText("*** Error: Extend failed", "SetFilePointer 2", 131, "another"));
  EXPECT_FALSE(FileExists("another"));
  EXPECT_EQ(Contents(), "0123456789");
}

TEST_F(FileTest, TheDestructorClosesTheFile) {
  {
    utl_File writer(name_, utl_FileAccessWrite, utl_FileShareDefault);
    writer.Init();
  }
  utl_File alone(name_, utl_FileAccessRead, utl_FileShareRead);
  EXPECT_EQ(alone.FileSize(), 0);
}

TEST_CHILD(writeAndWait) {
  utl_File file(argv[1], utl_FileAccessWrite, utl_FileShareReadWrite);
  file.Write("written", 7);
  ChildWriteLine("done");
  ChildReadLine();
  return 0;
}

TEST_F(FileTest, WhatAKilledProcessHasWrittenIsThere) {
  ChildProcess child = ChildProcess::Start("writeAndWait", {path_});
  EXPECT_EQ(child.ReadLine(), "done");
  child.Kill();
  EXPECT_EQ(ReadWholeFile(path_), "written");
}

TEST_F(FileTest, OpeningForWritingMakesTheHolderOfTheTracker) {
  using Holder = thr_GlobalSingleton<utl_IOTracker_Container>;
  Holder::Destroy();
  SetContents("");
  utl_File(name_, utl_FileAccessRead, utl_FileShareDefault).Init();
  utl_File(name_, utl_FileAccessUpdate, utl_FileShareDefault).Init();
  EXPECT_EQ(Holder::Look(), nullptr);
  utl_File(name_, utl_FileAccessWrite, utl_FileShareDefault).Init();
  EXPECT_NE(Holder::Look(), nullptr);

  Holder::Destroy();
  utl_File missing("no directory\\x", utl_FileAccessWrite, utl_FileShareDefault);
  EXPECT_FILE_ERROR(missing.Init(), utl_FileExceptionOpen,
                    CallText("*** Error: File open failed", "CreateFile in OpenWrite", 3,
                             "no directory\\x"));
  EXPECT_NE(Holder::Look(), nullptr);
  Holder::Destroy();
}

}  // namespace
