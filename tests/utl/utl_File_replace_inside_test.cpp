// New files beside others, and in their places.

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "common/expect/ExpectThrow.h"
#include "common/failing/FailingCall.h"
#include "common/failing/InsteadOfSleep.h"
#include "common/failing/WatchedFileCalls.h"
#include "common/temp/TempDir.h"
#include "utl/utl_File.h"

namespace {

class FileReplaceTest : public testing::Test {
 protected:
  FileReplaceTest() { WriteWholeFile(path_, "old"); }

  TempDir dir_;
  const std::string path_ = dir_.File("job.dat");
  const std::string newPath_ = dir_.File("job.new");
  const cow_String name_ = path_.c_str();
  const cow_String newName_ = newPath_.c_str();
  const std::unique_ptr<utl_File> file_ =
      std::make_unique<utl_File>(name_, utl_FileAccessUpdate, utl_FileShareDefault);
};

TEST_F(FileReplaceTest, NewFileIsOpenForReadingAndWriting) {
  utl_File fresh;
  fresh.OpenNew(newName_, *file_);
  EXPECT_EQ(LastCreateFile().access, GENERIC_READ | GENERIC_WRITE);
  EXPECT_EQ(LastCreateFile().shares, DWORD{FILE_SHARE_READ | FILE_SHARE_DELETE});
  EXPECT_EQ(LastCreateFile().creation, DWORD{CREATE_NEW});
  EXPECT_EQ(fresh.Write("abc", 3), 3);
  fresh.Seek(1);
  char bytes[2];
  EXPECT_EQ(fresh.Read(bytes, 2), 2);
  EXPECT_EQ(ReadWholeFile(newPath_), "abc");
}

TEST_F(FileReplaceTest, NewFileTakesThePlaceOfALeftOverOne) {
  WriteWholeFile(newPath_, "left over");
  utl_File fresh;
  fresh.OpenNew(newName_, *file_);
  EXPECT_EQ(ReadWholeFile(newPath_), "");
}

TEST_F(FileReplaceTest, DirectoryInTheNewFilesPlaceStays) {
  std::filesystem::create_directory(newPath_);
  utl_File fresh;
  EXPECT_THROW_FROM(
      fresh.OpenNew(newName_, *file_), utl_FileExceptionOpen,
      utl_FileExceptionOpen(5, newName_, "CreateFile in OpenWrite").AsString(),
      "utl/impl/utl_File");
  EXPECT_TRUE(std::filesystem::is_directory(newPath_));
}

TEST_F(FileReplaceTest, NewFileWithoutADirectory) {
  const cow_String name = dir_.File("missing/job.new").c_str();
  utl_File fresh;
  EXPECT_THROW_TEXT(fresh.OpenNew(name, *file_), utl_FileExceptionOpen,
                    utl_FileExceptionOpen(3, name, "CreateFile in OpenWrite").AsString());
}

TEST_F(FileReplaceTest, FileAndNewFileChangePlaces) {
  utl_File fresh;
  fresh.OpenNew(newName_, *file_);
  fresh.Write("new", 3);
  fresh.Flush();
  fresh.Replace(*file_);
  file_->Write("er", 2);
  EXPECT_EQ(ReadWholeFile(path_), "newer");
  EXPECT_FALSE(FileExists(newPath_));
}

TEST_F(FileReplaceTest, FailedReplacementLeavesBothFiles) {
  utl_File fresh;
  fresh.OpenNew(newName_, *file_);
  fresh.Write("new", 3);
  {
    const FailingCall failure(SystemCall::kMoveFileEx, ERROR_WRITE_PROTECT);
    EXPECT_THROW_FROM(
        fresh.Replace(*file_), utl_FileExceptionWrite,
        utl_FileExceptionWrite(19, name_, "MoveFileEx in Replace").AsString(),
        "utl/impl/utl_File");
  }
  EXPECT_EQ(ReadWholeFile(path_), "old");
  EXPECT_EQ(ReadWholeFile(newPath_), "new");
  file_->Write("OLD", 3);
  EXPECT_EQ(ReadWholeFile(path_), "OLD");
  fresh.Replace(*file_);
  EXPECT_EQ(ReadWholeFile(path_), "new");
}

TEST_F(FileReplaceTest, FileInUseIsTriedTwentyTimes) {
  utl_File fresh;
  fresh.OpenNew(newName_, *file_);
  std::vector<DWORD> pauses;
  const InsteadOfSleep sleep([&](DWORD milliseconds) { pauses.push_back(milliseconds); });
  {
    const FailingCall failure(SystemCall::kMoveFileEx, ERROR_SHARING_VIOLATION, 1,
                              Failing::kFromThenOn);
    EXPECT_THROW_TEXT(
        fresh.Replace(*file_), utl_FileExceptionWrite,
        utl_FileExceptionWrite(32, name_, "MoveFileEx in Replace").AsString());
  }
  EXPECT_EQ(pauses, std::vector<DWORD>(19, 10));
  {
    const FailingCall failure(SystemCall::kMoveFileEx, ERROR_ACCESS_DENIED);
    fresh.Replace(*file_);
  }
  EXPECT_EQ(pauses, std::vector<DWORD>(20, 10));
  EXPECT_EQ(ReadWholeFile(path_), "");
}

TEST_F(FileReplaceTest, FileOpenForReadingIsNotReplaced) {
  file_->Release();
  utl_File reader(name_, utl_FileAccessRead, utl_FileShareDefault);
  utl_File fresh;
  fresh.OpenNew(newName_, reader);
  EXPECT_THROW_TEXT(
      fresh.Replace(reader), utl_FileExceptionWrite,
      utl_FileExceptionWrite(name_, "attempt to write to a read-only file.").AsString());
  EXPECT_EQ(ReadWholeFile(path_), "old");
  EXPECT_TRUE(FileExists(newPath_));
}

TEST_F(FileReplaceTest, RenewingGoesOnWithTheFileThatIsThere) {
  EXPECT_EQ(file_->FileSize(), 3);
  file_->Renew();
  EXPECT_EQ(file_->FileSize(), 3);
  std::error_code error;
  std::filesystem::rename(path_, dir_.File("moved"), error);
  if (error) {
    GTEST_SKIP() << "nobody can move an open file here";
  }
  WriteWholeFile(path_, "another");
  EXPECT_EQ(file_->FileSize(), 3);
  file_->Renew();
  EXPECT_EQ(file_->FileSize(), 7);
  std::filesystem::remove(path_);
  EXPECT_THROW_TEXT(file_->Renew(), utl_FileExceptionNoFile,
                    utl_FileExceptionNoFile(name_, "in OpenUpdate").AsString());
}

TEST_F(FileReplaceTest, ReleasedFileIsOpenedAgainByTheNextOperation) {
  for (const utl_FileAccess access : {utl_FileAccessUpdate, utl_FileAccessWrite}) {
    WriteWholeFile(newPath_, "");
    utl_File file(newName_, access, utl_FileShareDefault);
    file.Write("abcdef", 6);
    file.Release();
    utl_File(newName_, utl_FileAccessUpdate, utl_FileShareDefault).Init();
    EXPECT_EQ(file.Write("xyz", 3), 3);
    EXPECT_EQ(ReadWholeFile(newPath_), "xyzdef");
  }
}

TEST_F(FileReplaceTest, ReleasingWhatIsNotOpenDoesNothing) {
  utl_File file(dir_.File("none").c_str(), utl_FileAccessUpdate, utl_FileShareDefault);
  file.Release();
  EXPECT_THROW(file.FileSize(), utl_FileExceptionNoFile);
}

TEST_F(FileReplaceTest, FailedReleaseIsReported) {
  file_->Init();
  const FailingCall failure(SystemCall::kCloseHandle, ERROR_INVALID_HANDLE);
  EXPECT_THROW_TEXT(file_->Release(), utl_FileExceptionClose,
                    utl_FileExceptionClose(6, name_, "CloseHandle").AsString());
}

TEST_F(FileReplaceTest, RenewingDoesNotOpenWhatIsNotOpen) {
  utl_File file(dir_.File("none").c_str(), utl_FileAccessWrite, utl_FileShareDefault);
  file.Renew();
  EXPECT_FALSE(FileExists(dir_.File("none")));
}

TEST_F(FileReplaceTest, HandleIsTheSystems) {
  BY_HANDLE_FILE_INFORMATION information;
  ASSERT_TRUE(GetFileInformationByHandle(file_->Handle(), &information));
  EXPECT_EQ(information.nFileSizeLow, 3u);
}

}  // namespace
