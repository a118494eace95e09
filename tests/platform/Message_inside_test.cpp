// The system's message texts.

#include "platform/PlatformTest.h"

namespace {

constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

std::string AllocatedText(DWORD code) {
  char* text = nullptr;
  const DWORD length =
      FormatMessageA(kFlags | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, code, 0,
                     reinterpret_cast<char*>(&text), 0, nullptr);
  std::string result(text != nullptr ? text : "", length);
  LocalFree(text);
  return result;
}

}  // namespace

// Every code that a call of platform/posix may set.
TEST(MessageTest, KnownCodes) {
  const struct {
    DWORD code;
    const char* text;
  } messages[] = {
      {ERROR_SUCCESS, "Success."},
      {ERROR_INVALID_FUNCTION, "Invalid function."},
      {ERROR_FILE_NOT_FOUND, "File not found."},
      {ERROR_PATH_NOT_FOUND, "Path not found."},
      {ERROR_TOO_MANY_OPEN_FILES, "Too many open files."},
      {ERROR_ACCESS_DENIED, "Access denied."},
      {ERROR_INVALID_HANDLE, "Invalid handle."},
      {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory."},
      {ERROR_NO_MORE_FILES, "No more files."},
      {ERROR_WRITE_PROTECT, "Write protected."},
      {ERROR_SEEK, "Seek error."},
      {ERROR_GEN_FAILURE, "General failure."},
      {ERROR_SHARING_VIOLATION, "Sharing violation."},
      {ERROR_LOCK_VIOLATION, "Lock violation."},
      {ERROR_HANDLE_EOF, "End of file."},
      {ERROR_FILE_EXISTS, "File exists."},
      {ERROR_INVALID_PARAMETER, "Invalid parameter."},
      {ERROR_DISK_FULL, "Disk full."},
      {ERROR_INSUFFICIENT_BUFFER, "Insufficient buffer."},
      {ERROR_INVALID_NAME, "Invalid name."},
      {ERROR_MOD_NOT_FOUND, "Module not found."},
      {ERROR_NEGATIVE_SEEK, "Negative seek."},
      {ERROR_ALREADY_EXISTS, "File already exists."},
      {ERROR_FILENAME_EXCED_RANGE, "File name is too long."},
      {ERROR_NO_DATA, "Pipe closed."},
      {ERROR_MORE_DATA, "More data available."},
      {ERROR_DIRECTORY, "Directory name invalid."},
      {ERROR_MR_MID_NOT_FOUND, "Message 0x%1 not found in file %2."},
      {ERROR_NOACCESS, "No access to memory location."},
      {ERROR_IO_DEVICE, "I/O device error."},
      {ERROR_NO_SUCH_USER, "No such user."},
      {ERROR_INVALID_USER_BUFFER, "Invalid user buffer."},
      {ERROR_CANT_RESOLVE_FILENAME, "The filename cannot be resolved."},
  };
  SetLastError(kUntouched);
  for (const auto& message : messages) {
    EXPECT_EQ(AllocatedText(message.code), std::string(message.text) + "\r\n");
  }
  EXPECT_EQ(GetLastError(), kUntouched);
}

TEST(MessageTest, UnknownCode) {
  char buffer[100];
  EXPECT_EQ(CodeOf([&] {
              return FormatMessageA(kFlags, nullptr, 99999, 0, buffer, 100, nullptr);
            }),
            DWORD{ERROR_MR_MID_NOT_FOUND});
  EXPECT_EQ(AllocatedText(99999), "");
}

TEST(MessageTest, OwnBuffer) {
  char buffer[18];
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 2, 0, buffer, 18, nullptr), 17u);
  EXPECT_STREQ(buffer, "File not found.\r\n");
  EXPECT_EQ(
      CodeOf([&] { return FormatMessageA(kFlags, nullptr, 2, 0, buffer, 17, nullptr); }),
      DWORD{ERROR_INSUFFICIENT_BUFFER});
}
