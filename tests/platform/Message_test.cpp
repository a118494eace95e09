// The system's message texts.

#include "platform/PlatformTest.h"

namespace {

constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

std::string AllocatedText(DWORD code) {
  char* text = nullptr;
  const DWORD length =
      FormatMessageA(kFlags | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, code, 0,
                     reinterpret_cast<char*>(&text), 0, nullptr);
  const std::string result(text != nullptr ? text : "", length);
  LocalFree(text);
  return result;
}

}  // namespace

TEST(MessageTest, KnownCodes) {
  SetLastError(kUntouched);
  EXPECT_EQ(AllocatedText(ERROR_SUCCESS), "Success.\r\n");
  EXPECT_EQ(AllocatedText(ERROR_FILE_NOT_FOUND), "File not found.\r\n");
  EXPECT_EQ(AllocatedText(ERROR_PATH_NOT_FOUND), "Path not found.\r\n");
  EXPECT_EQ(AllocatedText(ERROR_ACCESS_DENIED), "Access denied.\r\n");
  EXPECT_EQ(AllocatedText(ERROR_INVALID_HANDLE), "Invalid handle.\r\n");
  EXPECT_EQ(AllocatedText(ERROR_SHARING_VIOLATION), "Sharing violation.\r\n");
  EXPECT_EQ(AllocatedText(ERROR_HANDLE_EOF), "End of file.\r\n");
  EXPECT_EQ(AllocatedText(ERROR_DISK_FULL), "Disk full.\r\n");
  EXPECT_EQ(AllocatedText(ERROR_NEGATIVE_SEEK), "Negative seek.\r\n");
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
