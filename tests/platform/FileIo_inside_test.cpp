// Reading and writing through handles: counts, ends and codes.

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "common/handle/AsHandle.h"
#include "platform/PlatformTest.h"

namespace {

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

// Handles without a file behind them.
HANDLE Closed(const std::string& path) {
  const HANDLE handle = Open(path);
  CloseHandle(handle);
  return handle;
}

DWORD ReadCode(HANDLE handle, DWORD count = 1) {
  char buffer[16];
  DWORD done = 77;
  const DWORD code =
      CodeOf([&] { return ReadFile(handle, buffer, count, &done, nullptr); });
  EXPECT_EQ(done, 0u);
  return code;
}

DWORD WriteCode(HANDLE handle, DWORD count = 1) {
  DWORD done = 77;
  const DWORD code =
      CodeOf([&] { return WriteFile(handle, "0123456789", count, &done, nullptr); });
  EXPECT_EQ(done, 0u);
  return code;
}

}  // namespace

class FileIoTest : public PlatformTest {};

TEST_F(FileIoTest, ReadsUpToTheEnd) {
  const ScopedHandle handle(Open(Name("a")));
  SetLastError(kUntouched);
  EXPECT_EQ(ReadText(handle, 4), "0123");
  EXPECT_EQ(ReadText(handle, 20), "456789");
  EXPECT_EQ(ReadText(handle, 20), "");
  EXPECT_EQ(ReadText(handle, 0), "");
  EXPECT_EQ(GetLastError(), kUntouched);
}

TEST_F(FileIoTest, WritesAtThePosition) {
  ScopedHandle handle(Open(Name("a"), kReadWrite));
  SetLastError(kUntouched);
  SeekTo(handle, 8);
  EXPECT_TRUE(WriteText(handle, "abc"));
  EXPECT_TRUE(WriteText(handle, ""));
  SeekTo(handle, 0);
  EXPECT_EQ(ReadText(handle, 20), "01234567abc");
  EXPECT_EQ(GetLastError(), kUntouched);
}

TEST_F(FileIoTest, CountsNeedNotBeAskedFor) {
  const ScopedHandle handle(Open(Name("a"), kReadWrite));
  char byte = 0;
  EXPECT_TRUE(ReadFile(handle, &byte, 1, nullptr, nullptr));
  EXPECT_EQ(byte, '0');
  EXPECT_TRUE(WriteFile(handle, "x", 1, nullptr, nullptr));
  EXPECT_EQ(SeekTo(handle, 0, FILE_CURRENT), 2);
}

TEST_F(FileIoTest, InvalidHandles) {
  const DWORD invalid = ERROR_INVALID_HANDLE;
  for (const HANDLE handle : {INVALID_HANDLE_VALUE, Closed(Name("a")), HANDLE{}}) {
    SCOPED_TRACE(handle);
    BY_HANDLE_FILE_INFORMATION information = {};
    EXPECT_EQ(ReadCode(handle), invalid);
    EXPECT_EQ(WriteCode(handle), invalid);
    EXPECT_EQ(CodeOf([&] { return SetEndOfFile(handle); }), invalid);
    EXPECT_EQ(CodeOf([&] { return FlushFileBuffers(handle); }), invalid);
    EXPECT_EQ(CodeOf([&] { return GetFileInformationByHandle(handle, &information); }),
              invalid);
    EXPECT_EQ(CodeOf([&] {
                return SetFilePointer(handle, 0, nullptr, FILE_BEGIN) !=
                       INVALID_SET_FILE_POINTER;
              }),
              invalid);
    EXPECT_EQ(CodeOf([&] { return GetFileSize(handle, nullptr) != INVALID_FILE_SIZE; }),
              invalid);
  }
}

TEST_F(FileIoTest, ClosingTwice) {
  const DWORD invalid = ERROR_INVALID_HANDLE;
  EXPECT_EQ(CodeOf([&] { return CloseHandle(Closed(Name("a"))); }), invalid);
  EXPECT_EQ(CodeOf([] { return CloseHandle(nullptr); }), invalid);
  EXPECT_EQ(CodeOf([] { return CloseHandle(AsHandle(LONG_PTR{1} << 40)); }), invalid);
  // -1 is the own process's handle, too, whose closing does nothing.
  EXPECT_TRUE(CloseHandle(INVALID_HANDLE_VALUE));
}

TEST_F(FileIoTest, AccessThatWasNotOpenedFor) {
  const ScopedHandle reader(Open(Name("a"), GENERIC_READ));
  const ScopedHandle writer(Open(Name("a"), GENERIC_WRITE));
  const ScopedHandle neither(Open(Name("a"), 0));
  const ScopedHandle emptier(Open(Name("e"), GENERIC_READ, kShareAll, CREATE_ALWAYS));
  const ScopedHandle directory(Open(Name("d"), GENERIC_READ, kShareAll, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS));
  const DWORD denied = ERROR_ACCESS_DENIED;
  EXPECT_EQ(WriteCode(reader), denied);
  EXPECT_EQ(WriteCode(reader, 0), denied);
  EXPECT_EQ(WriteCode(emptier), denied);
  EXPECT_EQ(ReadCode(writer), denied);
  EXPECT_EQ(ReadCode(writer, 0), denied);
  EXPECT_EQ(ReadCode(neither), denied);
  EXPECT_EQ(WriteCode(neither), denied);
  EXPECT_EQ(WriteCode(directory), denied);
  EXPECT_EQ(ReadCode(directory), DWORD{ERROR_INVALID_FUNCTION});
  for (const HANDLE handle : {HANDLE{reader}, HANDLE{neither}, HANDLE{directory}}) {
    EXPECT_EQ(CodeOf([&] { return FlushFileBuffers(handle); }), denied);
  }
  EXPECT_TRUE(FlushFileBuffers(writer));
}

// Whoever may not write is told so by one code for shrinking, by another for growing.
TEST_F(FileIoTest, SizesThatAreNotSet) {
  const ScopedHandle directory(Open(Name("d"), GENERIC_READ, kShareAll, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS));
  for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{0}}) {
    const ScopedHandle handle(Open(Name("a"), access));
    for (const long long size : {0, 9, 10, 11, 20}) {
      SeekTo(handle, size);
      SeekTo(directory, size);
      EXPECT_EQ(CodeOf([&] { return SetEndOfFile(handle); }),
                size < 10 ? DWORD{ERROR_INVALID_PARAMETER} : DWORD{ERROR_INVALID_HANDLE})
          << size;
      EXPECT_EQ(CodeOf([&] { return SetEndOfFile(directory); }),
                DWORD{ERROR_INVALID_PARAMETER});
    }
    EXPECT_EQ(SizeOf(handle), 10);
  }
}

TEST_F(FileIoTest, BadBuffers) {
  const ScopedHandle handle(Open(Name("a"), kReadWrite));
  DWORD done = 77;
  EXPECT_EQ(CodeOf([&] { return ReadFile(handle, nullptr, 1, &done, nullptr); }),
            DWORD{ERROR_NOACCESS});
  EXPECT_EQ(done, 0u);
  EXPECT_EQ(CodeOf([&] { return WriteFile(handle, nullptr, 1, &done, nullptr); }),
            DWORD{ERROR_INVALID_USER_BUFFER});
}

TEST_F(FileIoTest, FullDisk) {
  const ScopedHandle full(Open("Z:\\dev\\full", kReadWrite));
  ASSERT_TRUE(full.IsValid());
  EXPECT_EQ(WriteCode(full), DWORD{ERROR_DISK_FULL});
  EXPECT_EQ(WriteCode(full, 10), DWORD{ERROR_DISK_FULL});
}

TEST_F(FileIoTest, LargeCounts) {
  // More than the system moves at once.
  constexpr DWORD kCount = 0x80001000;
  const ScopedHandle null(Open("Z:\\dev\\null", GENERIC_WRITE));
  const ScopedHandle handle(Open(Name("a")));
  const auto buffer = std::make_unique_for_overwrite<char[]>(kCount);
  DWORD done = 0;
  EXPECT_TRUE(WriteFile(null, buffer.get(), kCount, &done, nullptr));
  EXPECT_EQ(done, kCount);
  EXPECT_TRUE(ReadFile(handle, buffer.get(), kCount, &done, nullptr));
  EXPECT_EQ(done, 10u);
}

TEST_F(FileIoTest, LastErrorIsOneAThread) {
  DWORD before = kUntouched;
  DWORD after = 0;
  // Turns are taken without a system call, which would touch the last error.
  std::atomic<int> turn = 0;
  std::thread other([&] {
    while (turn != 1) {
    }
    before = GetLastError();
    OpenCode(Name("missing"));
    after = GetLastError();
    turn = 2;
  });
  SetLastError(kUntouched);
  turn = 1;
  while (turn != 2) {
  }
  EXPECT_EQ(GetLastError(), kUntouched);
  other.join();
  EXPECT_EQ(before, DWORD{NO_ERROR});
  EXPECT_EQ(after, DWORD{ERROR_FILE_NOT_FOUND});
}

// Each thread's opens and closes change the table that all share.
TEST_F(FileIoTest, ThreadsOpenAndClose) {
  std::vector<std::thread> threads;
  std::atomic<int> failures = 0;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, name = Name("t" + std::to_string(t))] {
      for (int i = 0; i < 200; ++i) {
        const ScopedHandle handle(Open(name, kReadWrite, 0, CREATE_ALWAYS));
        if (!handle.IsValid() || !WriteText(handle, name) || SeekTo(handle, 0) != 0 ||
            ReadText(handle, 200) != name) {
          ++failures;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failures, 0);
}
