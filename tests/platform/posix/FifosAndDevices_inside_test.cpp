// What only this system's directories hold: FIFOs, devices and sockets, links that lead
// nowhere, and the time at which a file was made.

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "common/handle/AsHandle.h"
#include "platform/PlatformTest.h"

namespace {

constexpr DWORD kBackup = FILE_FLAG_BACKUP_SEMANTICS;

BY_HANDLE_FILE_INFORMATION Information(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION information = {};
  EXPECT_TRUE(GetFileInformationByHandle(handle, &information));
  return information;
}

BY_HANDLE_FILE_INFORMATION Information(const std::string& path) {
  return Information(
      ScopedHandle(Open(path, GENERIC_READ, kShareAll, OPEN_EXISTING, kBackup)));
}

unsigned long long CreationOf(const std::string& path) {
  const FILETIME time = Information(path).ftCreationTime;
  return static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

class FifosAndDevicesTest : public PlatformTest {
 protected:
  FifosAndDevicesTest() { EXPECT_EQ(mkfifo(Name("fifo").c_str(), 0644), 0); }
};

}  // namespace

TEST_F(FifosAndDevicesTest, StatusOfAFifoWaitsForNobody) {
  for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{0}}) {
    const ScopedHandle handle(
        Open(Name("fifo"), access, kShareAll, OPEN_EXISTING, kBackup));
    EXPECT_EQ(Information(handle).dwFileAttributes, DWORD{FILE_ATTRIBUTE_ARCHIVE});
    // Nor does anybody who waits for a reader get one by it.
    errno = 0;
    EXPECT_EQ(open(Name("fifo").c_str(), O_WRONLY | O_NONBLOCK), -1);
    EXPECT_EQ(errno, ENXIO);
  }
}

TEST_F(FifosAndDevicesTest, HandleForTheStatusReadsNothing) {
  const ScopedHandle handle(
      Open(Name("fifo"), GENERIC_READ, kShareAll, OPEN_EXISTING, kBackup));
  char byte = 0;
  DWORD count = 0;
  EXPECT_EQ(CodeOf([&] { return ReadFile(handle, &byte, 1, &count, nullptr); }),
            DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(FifosAndDevicesTest, FifoThatIsReadHasItsData) {
  const int writer = open(Name("fifo").c_str(), O_RDWR | O_NONBLOCK);
  ASSERT_EQ(write(writer, "text", 4), 4);
  const ScopedHandle handle(Open(Name("fifo")));
  EXPECT_EQ(ReadText(handle, 4), "text");
  close(writer);
}

TEST_F(FifosAndDevicesTest, NamesOfSpecialFilesAreAnsweredAtOnce) {
  for (const std::string& name : {Name("fifo"), std::string("Z:\\dev\\null")}) {
    struct _stat64i32 status = {};
    EXPECT_EQ(_access(name.c_str(), 6), 0) << name;
    EXPECT_EQ(_stat64i32(name.c_str(), &status), 0) << name;
    EXPECT_EQ(status.st_mode, 0x81B6) << name;
    EXPECT_EQ(OpenCode(name + "\\", GENERIC_READ, kShareAll, OPEN_EXISTING, kBackup),
              DWORD{ERROR_INVALID_NAME});
    EXPECT_EQ(OpenCode(name, GENERIC_WRITE, 0, CREATE_NEW), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(CodeOf([&] {
                return GetDiskFreeSpaceExA(name.c_str(), nullptr, nullptr, nullptr);
              }),
              DWORD{ERROR_DIRECTORY});
    WIN32_FIND_DATAA data;
    EXPECT_EQ(FindFirstFileA((name + "\\*").c_str(), &data), INVALID_HANDLE_VALUE);
  }
}

TEST_F(FifosAndDevicesTest, SpecialFilesAndDanglingLinksAreListed) {
  std::filesystem::create_symlink("missing", Name("toNothing"));
  std::filesystem::create_symlink("loop", Name("loop"));
  for (const char* name : {"fifo", "toNothing", "loop"}) {
    WIN32_FIND_DATAA data = {};
    const HANDLE search = FindFirstFileA(Name(std::string(name) + "*").c_str(), &data);
    EXPECT_NE(search, INVALID_HANDLE_VALUE) << name;
    EXPECT_STREQ(data.cFileName, name);
    EXPECT_EQ(data.dwFileAttributes, DWORD{FILE_ATTRIBUTE_ARCHIVE}) << name;
    FindClose(search);
  }
}

TEST_F(FifosAndDevicesTest, CreationTimeStaysWhenTheFileIsWritten) {
  struct statx status = {};
  ASSERT_EQ(statx(AT_FDCWD, Name("a").c_str(), 0, STATX_BTIME, &status), 0);
  if ((status.stx_mask & STATX_BTIME) == 0) {
    GTEST_SKIP() << "this file system does not keep it";
  }
  const unsigned long long before = CreationOf(Name("a"));
  EXPECT_EQ(before / 10'000'000 - 11644473600,
            static_cast<unsigned long long>(status.stx_btime.tv_sec));
  for (const int seconds : {-1000, 1000}) {
    std::filesystem::last_write_time(
        Name("a"),
        std::filesystem::file_time_type::clock::now() + std::chrono::seconds(seconds));
    EXPECT_EQ(CreationOf(Name("a")), before);
  }
}

TEST_F(FifosAndDevicesTest, FlushingADeviceSucceeds) {
  const ScopedHandle null(Open("Z:\\dev\\null", GENERIC_WRITE));
  ASSERT_TRUE(null.IsValid());
  EXPECT_TRUE(FlushFileBuffers(null));
}

TEST_F(FifosAndDevicesTest, APipeHasNoSize) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const ScopedHandle reading(AsHandle(_get_osfhandle(ends[0])));
  const ScopedHandle writing(AsHandle(_get_osfhandle(ends[1])));
  EXPECT_EQ(CodeOf([&] { return SetEndOfFile(writing); }), DWORD{ERROR_SEEK});
}

TEST_F(FifosAndDevicesTest, ANewFileIsMadeWhereALinkLeads) {
  ASSERT_EQ(symlink("target", Name("link").c_str()), 0);
  EXPECT_EQ(OpenCode(Name("link"), GENERIC_WRITE, kShareAll, CREATE_ALWAYS), 0u);
  EXPECT_TRUE(std::filesystem::is_regular_file(Name("target")));
  EXPECT_TRUE(std::filesystem::is_symlink(Name("link")));
}
