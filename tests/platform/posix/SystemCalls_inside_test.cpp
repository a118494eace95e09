// Calls of the system that fail, or have an answer that few files and machines give.

#include <winsock2.h>
// Behind winsock2.h:
#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <psapi.h>
#include <share.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "common/failing/posix/FailingSystemCall.h"
#include "common/handle/AsHandle.h"
#include "common/temp/CurrentDirectory.h"
#include "platform/platform.h"
#include "platform/PlatformTest.h"

namespace {

constexpr DWORD kBackup = FILE_FLAG_BACKUP_SEMANTICS;

// A handle is the number of a descriptor.
int NumberOf(HANDLE handle) {
  return static_cast<int>(reinterpret_cast<intptr_t>(handle));
}

class SystemCallsTest : public PlatformTest {
 protected:
  HANDLE OpenToWrite(DWORD disposition = OPEN_EXISTING) const {
    return Open(Name("a"), GENERIC_READ | GENERIC_WRITE, kShareAll, disposition);
  }
  // Sets the size of "a" by a handle; the last error, 0 on success.
  static DWORD SizeCode(HANDLE handle, long long size) {
    SeekTo(handle, size);
    SetLastError(0);
    return SetEndOfFile(handle) ? 0 : GetLastError();
  }
};

}  // namespace

// Reading, writing and sizes.

TEST_F(SystemCallsTest, AnErrorThatWindowsDoesNotHaveIsAGeneralFailure) {
  const ScopedHandle handle(OpenToWrite());
  const FailingSystemCall flush(PosixCall::kFlush, EDOM);
  EXPECT_EQ(CodeOf([&] { return FlushFileBuffers(handle); }), DWORD{ERROR_GEN_FAILURE});
}

TEST_F(SystemCallsTest, AnInterruptedReadIsMadeAgain) {
  const ScopedHandle handle(Open(Name("a")));
  const FailingSystemCall read(PosixCall::kRead, EINTR);
  EXPECT_EQ(ReadText(handle, 10), "0123456789");
  EXPECT_TRUE(read.Happened());
}

// Whether more could come is not known, so what there is will do.
TEST_F(SystemCallsTest, AReadWhoseFileCannotBeLookedAtGivesWhatThereIs) {
  const ScopedHandle handle(Open(Name("a")));
  const FailingSystemCall status(PosixCall::kStatus, EIO);
  EXPECT_EQ(ReadText(handle, 20), "0123456789");
  EXPECT_TRUE(status.Happened());
}

TEST_F(SystemCallsTest, ADescriptorThatBlocksIsNotWaitedFor) {
  const ScopedHandle handle(Open(Name("a")));
  const FailingSystemCall read(PosixCall::kRead, EAGAIN);
  char byte = 0;
  DWORD count = 0;
  EXPECT_NE(CodeOf([&] { return ReadFile(handle, &byte, 1, &count, nullptr); }), 0u);
  EXPECT_TRUE(read.Happened());
}

TEST_F(SystemCallsTest, NothingIsReadIntoNoBuffer) {
  const ScopedHandle handle(Open(Name("a")));
  EXPECT_TRUE(ReadFile(handle, nullptr, 0, nullptr, nullptr));
  EXPECT_EQ(CodeOf([&] { return ReadFile(handle, nullptr, 1, nullptr, nullptr); }),
            DWORD{ERROR_NOACCESS});
}

TEST_F(SystemCallsTest, InterruptedAllocationsGoOnWithSmallerPieces) {
  const ScopedHandle handle(OpenToWrite());
  for (const int more : {1, 10}) {
    const FailingSystemCall allocation(PosixCall::kAllocate, EINTR);
    const long long size = SizeOf(handle) + more;
    EXPECT_EQ(SizeCode(handle, size), 0u);
    EXPECT_EQ(SizeOf(handle), size);
    EXPECT_TRUE(allocation.Happened());
  }
}

TEST_F(SystemCallsTest, AFileGrowsWhereBlocksCannotBeAllocated) {
  const ScopedHandle handle(OpenToWrite());
  for (const int number : {EOPNOTSUPP, ENOSYS}) {
    const FailingSystemCall allocation(PosixCall::kAllocate, number);
    const long long size = SizeOf(handle) + 10;
    EXPECT_EQ(SizeCode(handle, size), 0u);
    EXPECT_EQ(SizeOf(handle), size);
    EXPECT_TRUE(allocation.Happened());
  }
}

TEST_F(SystemCallsTest, LowHalfOfASizeAlone) {
  const ScopedHandle handle(Open(Name("a")));
  EXPECT_EQ(GetFileSize(handle, nullptr), 10u);
}

TEST_F(SystemCallsTest, CountsBeyondAnIntAreRefused) {
  const int fd = _open(Name("a").c_str(), _O_RDONLY | _O_BINARY);
  char byte = 0;
  errno = 0;
  EXPECT_EQ(_read(fd, &byte, 0x80000000), -1);
  EXPECT_EQ(errno, EINVAL);
  _close(fd);
  EXPECT_EQ(_read(fd, &byte, 0x80000000), -1);
  EXPECT_EQ(errno, EBADF);
}

TEST_F(SystemCallsTest, AnInterruptedCloseHasClosed) {
  const HANDLE handle = Open(Name("a"));
  const FailingSystemCall close(PosixCall::kClose, EINTR);
  EXPECT_TRUE(CloseHandle(handle));
  EXPECT_TRUE(close.Happened());
}

// Opening, names and information.

TEST_F(SystemCallsTest, AFileThatCannotBeEmptiedIsNotOpened) {
  const FailingSystemCall truncation(PosixCall::kSetSize, EIO);
  EXPECT_NE(OpenCode(Name("a"), GENERIC_WRITE, kShareAll, TRUNCATE_EXISTING), 0u);
  EXPECT_EQ(ReadWholeFile(Name("a")), "0123456789");
}

TEST_F(SystemCallsTest, InheritanceIsToldWithoutPermissions) {
  SECURITY_ATTRIBUTES security = {sizeof security, nullptr, TRUE};
  const ScopedHandle handle(CreateFileA(Name("new").c_str(), GENERIC_WRITE, 0, &security,
                                        CREATE_NEW, 0, nullptr));
  ASSERT_TRUE(handle.IsValid());
  EXPECT_EQ(fcntl(NumberOf(handle), F_GETFD), 0);
}

TEST_F(SystemCallsTest, NoFileTakesTheNameOfADirectory) {
  EXPECT_EQ(OpenCode(Name("d"), GENERIC_READ, kShareAll, CREATE_ALWAYS, kBackup),
            DWORD{ERROR_FILE_EXISTS});
}

TEST_F(SystemCallsTest, NoNewFileTakesTheNameOfADevice) {
  EXPECT_EQ(OpenCode("Z:\\dev\\null", GENERIC_READ, kShareAll, CREATE_NEW, kBackup),
            DWORD{ERROR_FILE_EXISTS});
}

TEST_F(SystemCallsTest, NoFileIsGivenTheNameOfAMissingDirectory) {
  EXPECT_EQ(CodeOf([&] {
              return MoveFileExA(Name("a").c_str(), (Name("new") + "\\").c_str(), 0);
            }),
            DWORD{ERROR_INVALID_NAME});
}

TEST_F(SystemCallsTest, NothingIsReplacedWhereItsLinksCannotBeFollowed) {
  const FailingSystemCall whole(PosixCall::kTellWhole, EIO);
  EXPECT_NE(CodeOf([&] {
              return MoveFileExA(Name("d/x").c_str(), Name("a").c_str(),
                                 MOVEFILE_REPLACE_EXISTING);
            }),
            0u);
  EXPECT_TRUE(whole.Happened());
  EXPECT_EQ(ReadWholeFile(Name("a")), "0123456789");
}

// What has not been told counts as made at the earlier of its other two times.
TEST_F(SystemCallsTest, AFileWhoseCreationIsNotToldHasItsEarliestTime) {
  const auto created = [](HANDLE handle) {
    BY_HANDLE_FILE_INFORMATION information = {};
    EXPECT_TRUE(GetFileInformationByHandle(handle, &information));
    return information;
  };
  const ScopedHandle file(Open(Name("a")));
  std::filesystem::last_write_time(
      Name("a"), std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  const FailingSystemCall status(PosixCall::kStatusMore, ENOSYS);
  const BY_HANDLE_FILE_INFORMATION of = created(file);
  EXPECT_TRUE(status.Happened());
  EXPECT_EQ(of.ftCreationTime.dwLowDateTime, of.ftLastWriteTime.dwLowDateTime);
  EXPECT_EQ(of.ftCreationTime.dwHighDateTime, of.ftLastWriteTime.dwHighDateTime);
  const ScopedHandle made(Open("Z:\\proc\\self\\stat"));  // has no such time
  EXPECT_NE(created(made).ftCreationTime.dwHighDateTime, 0u);
}

TEST_F(SystemCallsTest, NameThatIsNone) {
  EXPECT_NE(platform::FlushName(""), 0u);
  struct _stat64i32 status = {};
  EXPECT_EQ(_stat64i32(nullptr, &status), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(_chdir(nullptr), -1);
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(SystemCallsTest, FlushingNamesIsTriedWhereTheFileSystemHasIt) {
  for (const auto& [number, code] : {std::pair{EINVAL, unsigned{ERROR_SUCCESS}},
                                     {EDOM, unsigned{ERROR_GEN_FAILURE}}}) {
    const FailingSystemCall flush(PosixCall::kFlush, number);
    EXPECT_EQ(platform::FlushName(Name("a").c_str()), code);
    EXPECT_TRUE(flush.Happened());
  }
}

// Rights.

TEST_F(SystemCallsTest, WhoMayNotGiveAFileAwayKeepsItsGroup) {
  ASSERT_EQ(chmod(Name("a").c_str(), 0660), 0);
  const ScopedHandle file(Open(Name("d/x"), GENERIC_WRITE));
  const ScopedHandle like(Open(Name("a")));
  const FailingSystemCall owner(PosixCall::kChangeOwner, EPERM);
  platform::GiveRights(file, like);
  EXPECT_TRUE(owner.Happened());
  EXPECT_TRUE(platform::HaveSameRights(file, like));
}

TEST_F(SystemCallsTest, WhatIsNotOpenHasNobodysRights) {
  const ScopedHandle file(Open(Name("a")));
  EXPECT_FALSE(platform::HaveSameRights(file, INVALID_HANDLE_VALUE));
  EXPECT_FALSE(platform::HaveSameRights(INVALID_HANDLE_VALUE, file));
}

TEST_F(SystemCallsTest, AnotherGroupIsAnotherRight) {
  if (chown(Name("a").c_str(), static_cast<uid_t>(-1), getegid() + 1) != 0) {
    GTEST_SKIP() << "only root may give files away";
  }
  const ScopedHandle one(Open(Name("a")));
  const ScopedHandle other(Open(Name("d/x")));
  EXPECT_FALSE(platform::HaveSameRights(one, other));
}

// Directories.

TEST_F(SystemCallsTest, ADirectoryThatCannotBeReadIsNotListedToItsEnd) {
  WIN32_FIND_DATAA data = {};
  const FailingSystemCall listing(PosixCall::kReadDirectory, EDOM);
  EXPECT_EQ(FindFirstFileA(Name("*").c_str(), &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_GEN_FAILURE});
}

TEST_F(SystemCallsTest, TheListOfARemovedDirectoryEnds) {
  WIN32_FIND_DATAA data = {};
  const HANDLE search = FindFirstFileA(Name("d\\*").c_str(), &data);
  ASSERT_NE(search, INVALID_HANDLE_VALUE);
  std::filesystem::remove_all(Name("d"));
  while (FindNextFileA(search, &data)) {
  }
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
  FindClose(search);
}

TEST_F(SystemCallsTest, TheRootIsNoEntryOfADirectory) {
  WIN32_FIND_DATAA data = {};
  for (const char* name : {"Z:\\", "Z:\\.", "Z:\\.."}) {
    EXPECT_EQ(FindFirstFileA(name, &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND}) << name;
  }
}

TEST_F(SystemCallsTest, MoreSearchesThanAreKept) {
  constexpr size_t kKept = 4096;
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  if (before.rlim_max < 2 * kKept) {
    GTEST_SKIP() << "too few descriptors are to be had";
  }
  const rlimit many = {2 * kKept, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &many), 0);
  std::vector<HANDLE> searches;
  WIN32_FIND_DATAA data = {};
  HANDLE search = INVALID_HANDLE_VALUE;
  while ((search = FindFirstFileA(Name("*").c_str(), &data)) != INVALID_HANDLE_VALUE) {
    searches.push_back(search);
  }
  EXPECT_EQ(GetLastError(), DWORD{ERROR_TOO_MANY_OPEN_FILES});
  EXPECT_EQ(searches.size(), kKept);
  std::for_each(searches.begin(), searches.end(), FindClose);
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST_F(SystemCallsTest, ACurrentDirectoryOfNoRoom) {
  char byte = 0;
  errno = 0;
  EXPECT_EQ(_getcwd(&byte, -1), nullptr);
  EXPECT_EQ(errno, ERANGE);
}

TEST_F(SystemCallsTest, ACurrentDirectoryThatIsUnknown) {
  const CurrentDirectory current(dir_.Path());
  char name[1024];
  {
    const FailingSystemCall status(PosixCall::kStatusAt, EACCES);
    EXPECT_EQ(_getcwd(name, sizeof name), nullptr);
    EXPECT_TRUE(status.Happened());
  }
  const FailingSystemCall status(PosixCall::kStatusAt, EACCES);
  EXPECT_EQ(_chdir("\\tmp"), 0);
  EXPECT_STREQ(_getcwd(name, sizeof name), "Z:\\tmp") << "its drive is that of the root";
}

TEST_F(SystemCallsTest, ACurrentDirectoryThatCannotBeChanged) {
  const CurrentDirectory current(dir_.Path());
  for (const PosixCall call : {PosixCall::kChangeDirectory, PosixCall::kStatusAt}) {
    const FailingSystemCall change(call, EACCES);
    errno = 0;
    EXPECT_EQ(_chdir((dir_.ShownPath() + "\\d").c_str()), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_TRUE(change.Happened());
  }
}

TEST_F(SystemCallsTest, ACurrentDirectoryWhoseNameIsAnothers) {
  const CurrentDirectory current(dir_.Path());
  ASSERT_EQ(_chdir("d"), 0);
  std::filesystem::rename(Name("d"), Name("e"));
  std::filesystem::create_directory(Name("d"));
  char name[1024];
  ASSERT_NE(_getcwd(name, sizeof name), nullptr);
  EXPECT_EQ(std::string(name), dir_.ShownPath() + "\\e");
}

TEST_F(SystemCallsTest, DriveOfACurrentDirectoryBeforeEitherSeparator) {
  const CurrentDirectory current(dir_.Path());
  char name[1024];
  for (const char* root : {"z:\\", "z:/"}) {
    ASSERT_EQ(_chdir(root), 0);
    EXPECT_STREQ(_getcwd(name, sizeof name), "z:\\");
  }
}

// Open files that the layer has not opened, or no longer has.

TEST_F(SystemCallsTest, ADeletedFileIsNotDeletedAtItsClose) {
  for (const bool isReplaced : {false, true}) {
    ScopedHandle handle(Open(Name("new"), GENERIC_WRITE, kShareAll, CREATE_NEW,
                             FILE_FLAG_DELETE_ON_CLOSE));
    ASSERT_TRUE(handle.IsValid());
    ASSERT_EQ(unlink(Name("new").c_str()), 0);
    if (isReplaced) {
      WriteWholeFile(Name("new"), "another");
    }
    handle.Close();
    EXPECT_EQ(std::filesystem::exists(Name("new")), isReplaced);
  }
}

TEST_F(SystemCallsTest, AFileIsNoProcess) {
  const ScopedHandle handle(Open(Name("a")));
  FILETIME times[4];
  EXPECT_EQ(CodeOf([&] {
              return GetProcessTimes(handle, &times[0], &times[1], &times[2], &times[3]);
            }),
            DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(SystemCallsTest, FilesOfOneNumberInTwoFileSystems) {
  struct stat one = {};
  struct stat other = {};
  ASSERT_EQ(stat("/proc", &one), 0);
  ASSERT_EQ(stat("/sys", &other), 0);
  ASSERT_EQ(one.st_ino, other.st_ino);
  const ScopedHandle handle(
      Open("Z:\\proc", GENERIC_READ | GENERIC_WRITE, kShareAll, OPEN_EXISTING, kBackup));
  const int fd = open("/sys", O_RDONLY | O_DIRECTORY);
  EXPECT_EQ(CodeOf([&] { return WriteFile(AsHandle(fd), "", 0, nullptr, nullptr); }),
            DWORD{ERROR_ACCESS_DENIED});
  close(fd);
}

TEST_F(SystemCallsTest, TextModeOfWhatIsNotOpen) {
  EXPECT_EQ(_setmode(-1, _O_BINARY), -1);
  EXPECT_EQ(_setmode(4711, _O_BINARY), -1);
}

TEST_F(SystemCallsTest, TextModeOfAFileThatCannotBeLookedAt) {
  const int fd = open(Name("a").c_str(), O_RDONLY);
  {
    const FailingSystemCall status(PosixCall::kStatus, EIO, 2);
    EXPECT_EQ(_setmode(fd, _O_BINARY), -1);
    EXPECT_TRUE(status.Happened());
  }
  EXPECT_EQ(_setmode(fd, _O_BINARY), _O_TEXT);
  close(fd);
}

// Processes, the machine, threads, streams.

TEST_F(SystemCallsTest, OwnProcessForChildren) {
  const HANDLE process =
      OpenProcess(PROCESS_QUERY_INFORMATION, TRUE, GetCurrentProcessId());
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(fcntl(NumberOf(process), F_GETFD), 0);
  CloseHandle(process);
}

TEST_F(SystemCallsTest, OwnProcessWithoutADescriptor) {
  const DWORD own = GetCurrentProcessId();
  const FailingSystemCall open(PosixCall::kOpen, EMFILE);
  EXPECT_EQ(CodeOf([&] {
              return OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, own) != nullptr;
            }),
            DWORD{ERROR_TOO_MANY_OPEN_FILES});
}

TEST_F(SystemCallsTest, AProcessThatMayNotBeSignalledIsThere) {
  platform::Process found;
  const DWORD own = GetCurrentProcessId();
  for (const auto& [number, isThere] : {std::pair{EPERM, true}, {ESRCH, false}}) {
    const FailingSystemCall test(PosixCall::kTestProcess, number);
    EXPECT_EQ(platform::FindProcess(own, found), isThere);
    EXPECT_TRUE(test.Happened());
  }
}

TEST_F(SystemCallsTest, AProcessWhoseProgramIsDeletedKeepsItsName) {
  std::filesystem::copy_file("/bin/sleep", Name("sleeper"));
  const pid_t child = fork();
  if (child == 0) {
    execl(Name("sleeper").c_str(), "sleeper", "100", nullptr);
    _exit(1);
  }
  platform::Process found;
  do {
    ASSERT_TRUE(platform::FindProcess(static_cast<std::uint32_t>(child), found));
  } while (found.name != "sleeper");  // it may not have been started yet
  std::filesystem::remove(Name("sleeper"));
  EXPECT_TRUE(platform::FindProcess(static_cast<std::uint32_t>(child), found));
  EXPECT_EQ(found.name, "sleeper");
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST_F(SystemCallsTest, OtherKeysOfTheRegistry) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(nullptr, "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                          0, KEY_READ, &key),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegQueryValueExA(nullptr, "~MHz", nullptr, nullptr, nullptr, nullptr),
            ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

TEST_F(SystemCallsTest, AUserWithoutAName) {
  char name[100];
  DWORD size = sizeof name;
  const FailingSystemCall user(PosixCall::kUser, ENOENT);
  EXPECT_EQ(CodeOf([&] { return GetUserNameA(name, &size); }), DWORD{ERROR_NO_SUCH_USER});
}

TEST_F(SystemCallsTest, AnInterruptedSleepGoesOn) {
  const FailingSystemCall sleep(PosixCall::kSleep, EINTR);
  const auto begin = std::chrono::steady_clock::now();
  Sleep(10);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(10));
  EXPECT_TRUE(sleep.Happened());
}

TEST_F(SystemCallsTest, SlotsThatNobodyHasMade) {
  const DWORD slot = TlsAlloc();
  ASSERT_TRUE(TlsFree(slot));
  int value = 0;
  EXPECT_EQ(CodeOf([&] { return TlsSetValue(slot, &value); }),
            DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(CodeOf([&] { return TlsFree(slot); }), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(SystemCallsTest, SocketsOfAVersionThatIsNotThereYet) {
  WSADATA data = {};
  ASSERT_EQ(WSAStartup(MAKEWORD(2, 3), &data), 0);
  EXPECT_EQ(data.wVersion, MAKEWORD(2, 2));
  WSACleanup();
}

TEST_F(SystemCallsTest, StreamsThatAreNotOpened) {
  const std::string name = Name("a");
  errno = 0;
  EXPECT_EQ(_fsopen(name.c_str(), "r", _SH_DENYNO), nullptr);
  EXPECT_EQ(errno, EINVAL);
  errno = 0;
  EXPECT_EQ(_fsopen(name.c_str(), "a", _SH_DENYNO + 1), nullptr);
  EXPECT_EQ(errno, EINVAL);
  const FailingSystemCall stream(PosixCall::kMakeStream, ENOMEM);
  EXPECT_EQ(_fsopen(name.c_str(), "a", _SH_DENYNO), nullptr);
  EXPECT_TRUE(stream.Happened());
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, 0), 0u) << "nobody has it open";
}

TEST_F(SystemCallsTest, OnlyTheSystemHasMessages) {
  char text[100];
  EXPECT_EQ(
      FormatMessageA(0, nullptr, ERROR_FILE_NOT_FOUND, 0, text, sizeof text, nullptr),
      0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}
