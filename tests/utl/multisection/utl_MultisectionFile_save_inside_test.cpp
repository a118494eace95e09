// Saves that fail, and what they leave.

#include <limits>
#include <system_error>

#include <windows.h>

#include "common/environment/FileSizeLimit.h"
#include "common/expect/PeakMemory.h"
#include "common/failing/FailingCall.h"
#include "common/failing/WatchedFileCalls.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

class MultisectionSaveTest : public MultisectionTest {
 protected:
  const std::string temporary_ =
      file_ + "." + std::to_string(GetCurrentProcessId()) + ".tmp";
};

TEST_F(MultisectionSaveTest, FileOpenForReadingFailsAtItsExtension) {
  WriteImage({{"a", "old"}});
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  Set(file, "a", "new data");
  EXPECT_THROW_TEXT(file.saveChanges(), nex_TextException,
                    "utl_File::Extend - attempt to extend a read-only file.");
  EXPECT_EQ(OtherFiles(), "");
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "old"}}));
}

TEST_F(MultisectionSaveTest, SectionsWrittenBeforeAFailureCountAsSaved) {
  constexpr int kGathered = 48;
  constexpr int kWrittenAtOnce = 1024 * 1024;
  for (const int length : {kGathered, kWrittenAtOnce}) {
    WriteImage({{"a", "old"}});
    utl_MultisectionFile file(path_, utl_FileAccessRead);
    Set(file, "a", std::string(static_cast<std::size_t>(length), 'x'));
    EXPECT_THROW_TEXT(file.saveChanges(), nex_TextException,
                      "utl_File::Extend - attempt to extend a read-only file.");
    EXPECT_EQ(file.getSectionLength("a"), length);
    EXPECT_END_OF_FILE(Get(file, "a"));
  }
}

// The directory and "a" are written, "b" is not.
TEST_F(MultisectionSaveTest, SectionBehindTheLastWrittenByteIsStillSet) {
  WriteImage({});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "a", std::string(kMultisectionPiece, 'x'));
  Set(file, "b", "1");
  {
    const FailingCall third(SystemCall::kWriteFile, ERROR_DISK_FULL, 3);
    EXPECT_THROW(file.saveChanges(), utl_FileExceptionWrite);
  }
  EXPECT_END_OF_FILE(Get(file, "a"));
  EXPECT_EQ(Get(file, "b"), "1");
}

// The directory and the section are written twice, and once the file is extended.
TEST_F(MultisectionSaveTest, NoWriteIsEmpty) {
  utl_MultisectionFile file(path_, utl_FileAccessWrite);
  Set(file, "a", std::string(kMultisectionPiece, 'x'));
  const FailingCall sixth(SystemCall::kWriteFile, ERROR_DISK_FULL, 6);
  file.saveChanges();
  EXPECT_FALSE(sixth.Happened());
}

// The next save finds "b" where the new file would have had it, and "c" where it was.
TEST_F(MultisectionSaveTest, SectionsOfTwoLayoutsAreEachTakenFromTheirPlace) {
  const std::string bytes(kMultisectionPiece, 'b');
  WriteImage({{"a", "first"}, {"b", bytes + "bbb"}, {"c", "last"}});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "b", bytes);
  {
    const FailingCall ofTheLast(SystemCall::kReadFile, ERROR_IO_DEVICE, 2);
    EXPECT_THROW(file.saveChanges(), utl_FileExceptionRead);
  }
  file.saveChanges();
  EXPECT_EQ(ReadWholeFile(file_),
            BuildImage({{"a", "first"}, {"b", bytes}, {"c", "last"}}));
}

TEST_F(MultisectionSaveTest, TemporaryFileThatCannotBeMade) {
  WriteImage({{"a", "old"}});
  std::filesystem::create_directory(temporary_);
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "a", "new");
  EXPECT_THROW_TEXT(
      file.saveChanges(), utl_FileExceptionOpen,
      utl_FileExceptionOpen(5, temporary_.c_str(), "CreateFile in OpenWrite").AsString());
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "old"}}));

  std::filesystem::remove(temporary_);
  EXPECT_EQ(Get(file, "a"), "new") << "still in memory";
  file.saveChanges();
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
}

TEST_F(MultisectionSaveTest, LeftOverTemporaryFileIsReplacedAndDeleted) {
  for (const Save save : kSaves) {
    WriteWholeFile(temporary_, std::string(1000, 'x'));
    (utl_MultisectionFile(path_, utl_FileAccessWrite).*save)();
    EXPECT_EQ(ReadWholeFile(file_), ImageHeader(0));
    EXPECT_EQ(OtherFiles(), "");
  }
}

// A file that is open would keep its name on Windows until it is closed.
TEST_F(MultisectionSaveTest, NobodyHasADeletedFileOpen) {
  for (const Save save : kSaves) {
    for (const SystemCall failing :
         {SystemCall::kDeleteFile, SystemCall::kReadFile, SystemCall::kWriteFile,
          SystemCall::kMoveFileEx, SystemCall::kFlushFileBuffers}) {
      WriteImage({{"a", "old"}, {"b", "kept"}});
      WriteWholeFile(temporary_, "left over");
      utl_MultisectionFile file(path_, utl_FileAccessUpdate);
      Set(file, "a", "new");
      const WatchedDeletions deletions;
      try {
        const FailingCall failure(failing, ERROR_IO_DEVICE);
        (file.*save)();
      } catch (const nex_TextException&) {
        // Whatever has failed, its temporary file is deleted.
      }
      EXPECT_GT(deletions.Count(), 0);
      EXPECT_EQ(deletions.OfOpenFiles(), 0);
    }
  }
}

TEST_F(MultisectionSaveTest, SectionThatTheFileLacksFailsBeforeTheFileIsTouched) {
  const std::string damaged = ImageHeader(3) + ImageEntry({"a", "1"}) +
                              ImageEntry({"b", "lost"}) + ImageEntry({"c", "3"}) + "1";
  WriteWholeFile(file_, damaged);
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "a", "new");
  Set(file, "c", "new too");
  EXPECT_END_OF_FILE(file.saveChanges());
  EXPECT_EQ(ReadWholeFile(file_), damaged);
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
  EXPECT_END_OF_FILE(Get(file, "a")) << "was written to the temporary file";
  EXPECT_EQ(Get(file, "c"), "new too") << "was not";
}

TEST_F(MultisectionSaveTest, HugeLengthOfASmallFileTakesNoMemory) {
  const std::int64_t before = PeakMemory();
  WriteWholeFile(file_, ImageHeader(1) + ImageInt(1) + "a" + ImageInt(2000000000) +
                            ImageInt(0) + "123");
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  EXPECT_END_OF_FILE(file.saveChanges());
  EXPECT_LT(PeakMemory() - before, 256 * 1024 * 1024);
}

// A total of exactly 2^31 - 1 passes the check, and then lacks its data.
TEST_F(MultisectionSaveTest, TotalBeyondTheLimitIsRefusedBeforeAnythingIsTouched) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  const std::int64_t rest = kMax - (12 + 2 * 13 + 3);
  for (const std::int64_t beyond : {0, 1}) {
    const std::string bytes = ImageHeader(2) + ImageInt(1) + "a" +
                              ImageInt(rest + beyond) + ImageInt(0) +
                              ImageEntry({"b", "abc"});
    WriteWholeFile(file_, bytes);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "b", "xyz");
    if (beyond == 0) {
      EXPECT_END_OF_FILE(file.saveChanges());
    } else {
      EXPECT_CONTENTS_ERROR(file.saveChanges(), "Total size exceeds 2147483647 bytes");
    }
    EXPECT_EQ(ReadWholeFile(file_), bytes);
    EXPECT_EQ(Get(file, "b"), "xyz") << "still in memory";
    EXPECT_EQ(OtherFiles(), "model.dat.lock");
  }
}

// No byte of a temporary file is written to what somebody has put in its place.
TEST_F(MultisectionSaveTest, LinkInTheTemporaryFilesPlaceIsNotFollowed) {
  const std::string victim = dir_.File("victim");
  for (const Save save : kSaves) {
    WriteWholeFile(victim, "untouched");
    WriteImage({{"a", "old"}});
    std::error_code error;
    std::filesystem::create_symlink(victim, temporary_, error);
    if (error) {
      GTEST_SKIP() << "no links here: " << error.message();
    }
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "a", "new");
    (file.*save)();
    EXPECT_EQ(ReadWholeFile(victim), "untouched");
    EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
    EXPECT_FALSE(std::filesystem::is_symlink(temporary_));
  }
}

TEST_F(MultisectionSaveTest, OtherNameOfALeftOverTemporaryFileKeepsItsBytes) {
  const std::string victim = dir_.File("victim");
  for (const Save save : kSaves) {
    WriteWholeFile(victim, "untouched");
    WriteImage({{"a", "old"}});
    std::filesystem::create_hard_link(victim, temporary_);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "a", "new");
    (file.*save)();
    EXPECT_EQ(ReadWholeFile(victim), "untouched");
    EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
    EXPECT_FALSE(FileExists(temporary_));
  }
}

TEST_F(MultisectionSaveTest, FullDiskLeavesTheFileAndTheData) {
  if (!FileSizeLimit::IsAvailable()) {
    GTEST_SKIP() << "no limit of a file's size here";
  }
  for (const Save save : kSaves) {
    WriteImage({{"a", "old"}});
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "a", "new");
    {
      const FileSizeLimit full(20);
      EXPECT_THROW_TEXT((file.*save)(), utl_FileExceptionFull,
                        utl_FileExceptionFull(temporary_.c_str()).AsString());
    }
    EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "old"}}));
    EXPECT_EQ(OtherFiles(), "model.dat.lock");
    EXPECT_EQ(Get(file, "a"), "new");
    (file.*save)();
    EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
  }
}

}  // namespace
