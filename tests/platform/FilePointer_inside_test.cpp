// Positions and sizes, past 4 GiB too, in sparse files.

#include "platform/PlatformTest.h"

namespace {

constexpr long long kGiB4 = 1LL << 32;

DWORD SeekCode(HANDLE handle, LONG low, LONG high, DWORD method) {
  return CodeOf([&] {
    LONG half = high;
    return SetFilePointer(handle, low, &half, method) != INVALID_SET_FILE_POINTER;
  });
}

DWORD ShortSeekCode(HANDLE handle, LONG distance, DWORD method) {
  return CodeOf([&] {
    return SetFilePointer(handle, distance, nullptr, method) != INVALID_SET_FILE_POINTER;
  });
}

}  // namespace

class FilePointerTest : public PlatformTest {
 protected:
  FilePointerTest() : handle_(Open(Name("a"), GENERIC_READ | GENERIC_WRITE)) {}

  ScopedHandle handle_;
};

TEST_F(FilePointerTest, Methods) {
  SetLastError(kUntouched);
  EXPECT_EQ(SetFilePointer(handle_, 5, nullptr, FILE_BEGIN), 5u);
  EXPECT_EQ(SetFilePointer(handle_, 2, nullptr, FILE_CURRENT), 7u);
  EXPECT_EQ(SetFilePointer(handle_, -7, nullptr, FILE_CURRENT), 0u);
  EXPECT_EQ(SetFilePointer(handle_, -1, nullptr, FILE_END), 9u);
  EXPECT_EQ(SetFilePointer(handle_, 5, nullptr, FILE_END), 15u);
  EXPECT_EQ(SizeOf(handle_), 10);
  EXPECT_EQ(GetLastError(), kUntouched);
}

TEST_F(FilePointerTest, NegativePositions) {
  const DWORD negative = ERROR_NEGATIVE_SEEK;
  SeekTo(handle_, 5);
  EXPECT_EQ(ShortSeekCode(handle_, -1, FILE_BEGIN), negative);
  EXPECT_EQ(ShortSeekCode(handle_, -6, FILE_CURRENT), negative);
  EXPECT_EQ(ShortSeekCode(handle_, -11, FILE_END), negative);
  EXPECT_EQ(SeekCode(handle_, 0, -1, FILE_BEGIN), negative);
  EXPECT_EQ(SeekCode(handle_, -1, 0x7FFFFFFF, FILE_CURRENT), negative);  // 2^63 and more
  EXPECT_EQ(SeekTo(handle_, 0, FILE_CURRENT), 5);
}

// From the beginning, a negative position is told whatever the handle is.
TEST_F(FilePointerTest, NegativePositionsOfNoHandle) {
  const DWORD invalid = ERROR_INVALID_HANDLE;
  HANDLE closed = Open(Name("a"));
  CloseHandle(closed);
  for (const HANDLE handle : {closed, INVALID_HANDLE_VALUE, HANDLE{}}) {
    const auto code = [handle](LONG distance, DWORD method) {
      return CodeOf([&] {
        return SetFilePointer(handle, distance, nullptr, method) !=
               INVALID_SET_FILE_POINTER;
      });
    };
    EXPECT_EQ(code(-1, FILE_BEGIN), DWORD{ERROR_NEGATIVE_SEEK});
    EXPECT_EQ(code(1, FILE_BEGIN), invalid);
    EXPECT_EQ(code(-1, FILE_CURRENT), invalid);
    EXPECT_EQ(code(-1, FILE_END), invalid);
    EXPECT_EQ(code(-1, 3), DWORD{ERROR_INVALID_PARAMETER});
  }
}

TEST_F(FilePointerTest, BadMethod) {
  EXPECT_EQ(ShortSeekCode(handle_, 0, 3), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(ShortSeekCode(handle_, -1, 3), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(FilePointerTest, LowHalfThatLooksLikeFailure) {
  LONG high = 0;
  SeekTo(handle_, kGiB4 - 1000);
  WriteText(handle_, "x");  // so that few blocks are taken
  SetLastError(kUntouched);
  EXPECT_EQ(SetFilePointer(handle_, -1, &high, FILE_BEGIN), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), DWORD{NO_ERROR});
  EXPECT_EQ(high, 0);
  EXPECT_TRUE(SetEndOfFile(handle_));
  DWORD sizeHigh = 7;
  SetLastError(kUntouched);
  EXPECT_EQ(GetFileSize(handle_, &sizeHigh), INVALID_FILE_SIZE);
  EXPECT_EQ(GetLastError(), DWORD{NO_ERROR});
  EXPECT_EQ(sizeHigh, 0u);
}

TEST_F(FilePointerTest, PastFourGibibytes) {
  const long long positions[] = {kGiB4 - 2, kGiB4 - 1, kGiB4, kGiB4 + 1, 5 * kGiB4 + 3};
  for (const long long position : positions) {
    EXPECT_EQ(SeekTo(handle_, position), position);
    EXPECT_EQ(SeekTo(handle_, 0, FILE_CURRENT), position);
    EXPECT_TRUE(WriteText(handle_, "x"));
    EXPECT_EQ(SizeOf(handle_), position + 1);
    EXPECT_EQ(SeekTo(handle_, -1, FILE_END), position);
    EXPECT_EQ(ReadText(handle_, 2), "x");
    EXPECT_EQ(SeekTo(handle_, -position - 1, FILE_CURRENT), 0);
  }
}

TEST_F(FilePointerTest, SizeFollowsThePosition) {
  for (const long long size : {20LL, 3LL, 0LL, kGiB4 + 7, 1LL}) {
    if (size > kGiB4) {
      SeekTo(handle_, kGiB4);
      WriteText(handle_, "x");  // so that few blocks are taken
    }
    SeekTo(handle_, size);
    EXPECT_TRUE(SetEndOfFile(handle_));
    EXPECT_EQ(SizeOf(handle_), size);
    EXPECT_EQ(SeekTo(handle_, 0, FILE_CURRENT), size);
  }
  SeekTo(handle_, 4);
  SetEndOfFile(handle_);
  SeekTo(handle_, 0);
  EXPECT_EQ(ReadText(handle_, 9), std::string(4, '\0'));
}

TEST_F(FilePointerTest, DirectoriesHaveSizeZero) {
  const ScopedHandle directory(Open(Name("d"), GENERIC_READ, kShareAll, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS));
  EXPECT_EQ(SizeOf(directory), 0);
  EXPECT_EQ(SetFilePointer(directory, 0, nullptr, FILE_END), 0u);
}
