// A process that goes on with a copy of its parent's memory has the parent's files open,
// too. They stay the parent's.

#include <fcntl.h>
#include <io.h>

#include <atomic>
#include <thread>
#include <vector>

#include "common/child/ProcessCopy.h"
#include "common/handle/AsHandle.h"
#include "platform/PlatformTest.h"

namespace {

constexpr DWORD kTryExclusive = LOCKFILE_FAIL_IMMEDIATELY | LOCKFILE_EXCLUSIVE_LOCK;
constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

DWORD LockCode(HANDLE handle, DWORD flags = kTryExclusive) {
  OVERLAPPED from0 = {};
  return LockFileEx(handle, flags, 0, 10, 0, &from0) ? 0 : GetLastError();
}

DWORD UnlockCode(HANDLE handle) {
  OVERLAPPED from0 = {};
  return UnlockFileEx(handle, 0, 10, 0, &from0) ? 0 : GetLastError();
}

using ForkTest = ProcessCopyTest<PlatformTest>;
using BusyForkTest = BusyProcessCopyTest<PlatformTest>;

}  // namespace

TEST_F(ForkTest, FilesAreNotDeletedByTheChild) {
  ScopedHandle handle(
      Open(Name("m"), GENERIC_WRITE, 0, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE));
  ExpectInCopy([&] { return CloseHandle(handle) != 0; });
  EXPECT_TRUE(FileExists(Name("m")));
  handle.Close();
  EXPECT_FALSE(FileExists(Name("m")));
}

TEST_F(ForkTest, ShareModesAreNotGivenBackByTheChild) {
  const DWORD violation = ERROR_SHARING_VIOLATION;
  ScopedHandle handle(Open(Name("a"), kReadWrite, 0));
  ExpectInCopy([&] {
    return OpenCode(Name("a")) == violation && CloseHandle(handle) != 0 &&
           OpenCode(Name("a")) == violation;
  });
  EXPECT_EQ(OpenCode(Name("a")), violation);
  ExpectInCopy([&] { return OpenCode(Name("a")) == violation; });
  handle.Close();
  EXPECT_EQ(OpenCode(Name("a"), kReadWrite, 0), 0u);
}

TEST_F(ForkTest, LocksAreNotGivenBackByTheChild) {
  for (const DWORD access : {kReadWrite, DWORD{GENERIC_READ}}) {
    const ScopedHandle handle(Open(Name("a"), access));
    const ScopedHandle other(Open(Name("a"), access));
    EXPECT_EQ(LockCode(handle), 0u);
    ExpectInCopy([&] {
      return LockCode(handle) == ERROR_LOCK_VIOLATION && CloseHandle(handle) != 0;
    });
    EXPECT_EQ(LockCode(other), DWORD{ERROR_LOCK_VIOLATION});
    EXPECT_EQ(UnlockCode(handle), 0u);
    EXPECT_EQ(LockCode(other), 0u);
  }
}

TEST_F(ForkTest, TheChildsOwnFilesAreItsOwn) {
  const ScopedHandle handle(Open(Name("a"), kReadWrite));
  EXPECT_EQ(LockCode(handle), 0u);
  ExpectInCopy([&] {
    ScopedHandle own(
        Open(Name("m"), kReadWrite, 0, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE));
    const bool isAlone = OpenCode(Name("m")) == ERROR_SHARING_VIOLATION;
    own.Close();
    const ScopedHandle again(Open(Name("a"), kReadWrite));
    return isAlone && !FileExists(Name("m")) && LockCode(again) == ERROR_LOCK_VIOLATION;
  });
}

// What is known of a descriptor is known in the child, too: rights and text mode.
TEST_F(ForkTest, TheChildKnowsTheParentsDescriptors) {
  const int writer = _open(Name("a").c_str(), _O_WRONLY | _O_BINARY);
  ExpectInCopy([writer] {
    char byte = 0;
    return _read(writer, &byte, 1) == -1 && errno == EBADF &&
           _setmode(writer, _O_TEXT) == _O_BINARY && _close(writer) == 0;
  });
  EXPECT_EQ(_setmode(writer, _O_BINARY), _O_BINARY);
  _close(writer);
}

// Others are in the midst of opening, locking and waiting when the child comes to be.
TEST_F(BusyForkTest, ChildGoesOn) {
  std::atomic<bool> ends = false;
  const ScopedHandle held(Open(Name("d/x"), kReadWrite));
  EXPECT_EQ(LockCode(held), 0u);
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&, name = Name("t" + std::to_string(i))] {
      while (!ends) {
        const ScopedHandle handle(Open(name, kReadWrite, kShareAll, OPEN_ALWAYS));
        LockCode(handle);
        UnlockCode(handle);
      }
    });
  }
  threads.emplace_back([&] {
    const ScopedHandle waiter(Open(Name("d/x"), kReadWrite));
    EXPECT_EQ(LockCode(waiter, LOCKFILE_EXCLUSIVE_LOCK), 0u);
  });
  threads.emplace_back([&] { EXPECT_EQ(LockCode(held, LOCKFILE_EXCLUSIVE_LOCK), 0u); });
  for (int i = 0; i < 30; ++i) {
    ExpectInCopy([&] {
      const ScopedHandle own(Open(Name("own"), kReadWrite, 0, CREATE_ALWAYS));
      const ScopedHandle again(Open(Name("d/x"), kReadWrite));
      return own.IsValid() && LockCode(own) == 0 && UnlockCode(own) == 0 &&
             LockCode(again) == ERROR_LOCK_VIOLATION;
    });
  }
  ends = true;
  EXPECT_EQ(UnlockCode(held), 0u);
  // Whoever of the two waiting threads is served first lets the other one in.
  threads.back().join();
  threads.pop_back();
  EXPECT_EQ(UnlockCode(held), 0u);
  for (std::thread& thread : threads) {
    thread.join();
  }
}
