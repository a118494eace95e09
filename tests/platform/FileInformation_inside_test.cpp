// GetFileInformationByHandle of files, directories and hard links.

#include <filesystem>

#include "platform/PlatformTest.h"

namespace {

BY_HANDLE_FILE_INFORMATION Information(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION information = {};
  EXPECT_TRUE(GetFileInformationByHandle(handle, &information));
  return information;
}

BY_HANDLE_FILE_INFORMATION Information(const std::string& path) {
  return Information(ScopedHandle(
      Open(path, GENERIC_READ, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS)));
}

unsigned long long Joined(DWORD high, DWORD low) {
  return static_cast<unsigned long long>(high) << 32 | low;
}

unsigned long long Index(const BY_HANDLE_FILE_INFORMATION& information) {
  return Joined(information.nFileIndexHigh, information.nFileIndexLow);
}

unsigned long long Seconds(const FILETIME& time) {
  return Joined(time.dwHighDateTime, time.dwLowDateTime) / 10000000 - 11644473600;
}

}  // namespace

class FileInformationTest : public PlatformTest {};

TEST_F(FileInformationTest, OfAFile) {
  const BY_HANDLE_FILE_INFORMATION file = Information(Name("a"));
  EXPECT_EQ(file.dwFileAttributes, DWORD{FILE_ATTRIBUTE_ARCHIVE});
  EXPECT_EQ(file.nNumberOfLinks, 1u);
  EXPECT_EQ(file.nFileSizeLow, 10u);
  EXPECT_EQ(file.nFileSizeHigh, 0u);
  EXPECT_NE(Index(file), 0u);
}

TEST_F(FileInformationTest, OfADirectory) {
  std::filesystem::create_directory(Name("d/inner"));
  const BY_HANDLE_FILE_INFORMATION directory = Information(Name("d"));
  EXPECT_EQ(directory.dwFileAttributes, DWORD{FILE_ATTRIBUTE_DIRECTORY});
  EXPECT_EQ(directory.nNumberOfLinks, 1u);
  EXPECT_EQ(directory.nFileSizeLow, 0u);
  EXPECT_NE(Index(directory), Index(Information(Name("a"))));
}

TEST_F(FileInformationTest, OfAHardLink) {
  ASSERT_TRUE(MakeHardLink(Name("a"), Name("other")));
  const BY_HANDLE_FILE_INFORMATION one = Information(Name("a"));
  const BY_HANDLE_FILE_INFORMATION other = Information(Name("other"));
  EXPECT_EQ(one.nNumberOfLinks, 2u);
  EXPECT_EQ(other.nNumberOfLinks, 2u);
  EXPECT_EQ(Index(one), Index(other));
  EXPECT_EQ(one.dwVolumeSerialNumber, other.dwVolumeSerialNumber);
}

TEST_F(FileInformationTest, OfAReadOnlyFile) {
  const ScopedHandle handle(
      Open(Name("m"), GENERIC_WRITE, kShareAll, CREATE_NEW, FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(Information(handle).dwFileAttributes,
            DWORD{FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY});
}

TEST_F(FileInformationTest, OfALargeFile) {
  const ScopedHandle handle(Open(Name("a"), GENERIC_WRITE));
  SeekTo(handle, (3LL << 32) + 5);
  SetEndOfFile(handle);
  EXPECT_EQ(Information(handle).nFileSizeHigh, 3u);
  EXPECT_EQ(Information(handle).nFileSizeLow, 5u);
}

TEST_F(FileInformationTest, NeedsNoAccess) {
  EXPECT_EQ(Information(ScopedHandle(Open(Name("a"), 0))).nFileSizeLow, 10u);
}

TEST_F(FileInformationTest, Times) {
  const auto when = std::filesystem::last_write_time(Name("a"));
  std::filesystem::last_write_time(Name("a"), when - std::chrono::seconds(1000));
  std::filesystem::last_write_time(Name("d/x"), when);
  const BY_HANDLE_FILE_INFORMATION now = Information(Name("d/x"));
  const BY_HANDLE_FILE_INFORMATION old = Information(Name("a"));
  EXPECT_EQ(Seconds(now.ftLastWriteTime) - Seconds(old.ftLastWriteTime), 1000u);
  EXPECT_GE(Seconds(old.ftCreationTime), Seconds(old.ftLastWriteTime));
  EXPECT_LE(Seconds(old.ftCreationTime), Seconds(now.ftLastWriteTime));
}
