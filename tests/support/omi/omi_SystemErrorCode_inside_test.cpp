#include "omi/omi_SystemErrorCode.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

namespace {

constexpr int kNoSuchCode = 0x2FFFFFFF;

// The system's own text; it differs from system to system.
std::string LiveText(int code) {
  char* buffer = nullptr;
  const DWORD length = FormatMessageA(0x1300, nullptr, static_cast<DWORD>(code), 0x400,
                                      reinterpret_cast<char*>(&buffer), 0, nullptr);
  std::string text(buffer == nullptr ? "" : buffer, length);
  LocalFree(buffer);
  return text;
}

TEST(OmiSystemErrorCodeTest, IsRunTimeZeroAtFirst) {
  const omi_SystemErrorCode code;
  EXPECT_EQ(code.Kind(), 0);
  EXPECT_EQ(code.Code(), 0);
}

TEST(OmiSystemErrorCodeTest, KeepsKindAndCode) {
  const omi_SystemErrorCode code(omi_SystemErrorCode::kSystem, 32);
  EXPECT_EQ(code.Kind(), 1);
  EXPECT_EQ(code.Code(), 32);
}

TEST(OmiSystemErrorCodeTest, FromErrnoTakesTheRunTimeNumber) {
  SetLastError(5);
  errno = ENOENT;
  const omi_SystemErrorCode code = omi_SystemErrorCode::FromErrno();
  EXPECT_EQ(code.Kind(), omi_SystemErrorCode::kRunTime);
  EXPECT_EQ(code.Code(), ENOENT);
}

TEST(OmiSystemErrorCodeTest, FromLastErrorTakesTheSystemNumber) {
  errno = ENOENT;
  SetLastError(5);
  const omi_SystemErrorCode code = omi_SystemErrorCode::FromLastError();
  EXPECT_EQ(code.Kind(), omi_SystemErrorCode::kSystem);
  EXPECT_EQ(code.Code(), 5);
}

// Plain spinning: a call that waits might set the number.
TEST(OmiSystemErrorCodeTest, FromLastErrorIsPerThread) {
  std::atomic<bool> otherIsSet{false};
  std::atomic<bool> mineIsSet{false};
  int other = 0;
  std::thread thread([&] {
    SetLastError(6);
    otherIsSet = true;
    while (!mineIsSet) {
    }
    other = omi_SystemErrorCode::FromLastError().Code();
  });
  while (!otherIsSet) {
  }
  SetLastError(5);
  mineIsSet = true;
  const int mine = omi_SystemErrorCode::FromLastError().Code();
  thread.join();
  EXPECT_EQ(mine, 5);
  EXPECT_EQ(other, 6);
}

TEST(OmiSystemErrorCodeTest, SystemTextIsTheSystemsOwnLineEndIncluded) {
  for (const int code : {2, 3, 5, 32, 112}) {
    const std::string text = omi_SystemErrorCode(1, code).Text();
    EXPECT_EQ(text, LiveText(code)) << code;
    ASSERT_GE(text.size(), 3U) << code;
    EXPECT_EQ(text.substr(text.size() - 2), "\r\n") << code;
  }
}

TEST(OmiSystemErrorCodeTest, SystemCodeWithoutTextIsEmpty) {
  EXPECT_EQ(omi_SystemErrorCode(1, kNoSuchCode).Text(), "");
  EXPECT_EQ(omi_SystemErrorCode(1, -1).Text(), "");
}

TEST(OmiSystemErrorCodeTest, RunTimeTextIsThatOfTheRunTime) {
  EXPECT_EQ(omi_SystemErrorCode(0, ENOENT).Text(), "No such file or directory");
  EXPECT_EQ(omi_SystemErrorCode(0, EACCES).Text(), std::strerror(EACCES));
}

TEST(OmiSystemErrorCodeTest, TextLeavesBothNumbersAlone) {
  const std::string unknown = std::strerror(kNoSuchCode);
  errno = EACCES;
  SetLastError(6);
  const std::string ofSystem = omi_SystemErrorCode(1, kNoSuchCode).Text();
  const std::string ofRunTime = omi_SystemErrorCode(0, kNoSuchCode).Text();
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(GetLastError(), 6U);
  EXPECT_EQ(ofSystem, "");
  EXPECT_EQ(ofRunTime, unknown);
}

}  // namespace
