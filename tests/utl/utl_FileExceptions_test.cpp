#include <gtest/gtest.h>

#include <string>

#include "common/expect/ExceptionContract.h"
#include "FileTexts.h"
#include "utl/utl_File.h"

namespace {

const std::string kPath = "C:\\work\\job.dat";

template <class Exception>
void ExpectFailedCall(const std::string& head) {
  constexpr int kCode = 5;
  ExpectExceptionContract(Exception(kCode, kPath.c_str(), "SomeCall"),
                          CallText(head, "SomeCall", kCode, kPath));
}

TEST(FileExceptionsTest, OfFailedCalls) {
  ExpectFailedCall<utl_FileExceptionOpen>("*** Error: File open failed");
  ExpectFailedCall<utl_FileExceptionClose>("***ERROR: File close failed");
  ExpectFailedCall<utl_FileExceptionSeek>("*** Error: Seek failed");
  ExpectFailedCall<utl_FileExceptionLocation>("*** Error: Get file location failed");
  ExpectFailedCall<utl_FileExceptionFlush>("*** Error: Flush failed");
  ExpectFailedCall<utl_FileExceptionRead>("*** Error: Read failed");
  ExpectFailedCall<utl_FileExceptionWrite>("*** Error: Write failed");
  ExpectFailedCall<utl_FileExceptionSize>("*** Error: Get file size failed");
  ExpectFailedCall<utl_FileExceptionExtend>("*** Error: Extend failed");
}

template <class Exception>
void ExpectReason(const std::string& head) {
  ExpectExceptionContract(Exception(kPath.c_str(), "a reason"),
                          head + " (utl_File: a reason)\nfile name: " + kPath);
}

TEST(FileExceptionsTest, WithAReason) {
  ExpectReason<utl_FileExceptionNoFile>("*** Error: No such file");
  ExpectReason<utl_FileExceptionFlush>("*** Error: Flush failed");
  ExpectReason<utl_FileExceptionWrite>("*** Error: Write failed");
}

TEST(FileExceptionsTest, FullDoesNotShowThePath) {
  ExpectExceptionContract(utl_FileExceptionFull(kPath.c_str()),
                          "*** Error: Free disk space depleted\nfile name: %2$s");
}

// Every code that comes with a text shows it as the system gives it; what has none shows
// nothing in its place.
TEST(FileExceptionsTest, ACodeWithoutTextIsEmpty) {
  EXPECT_STREQ(
      utl_FileExceptionRead(0x2FFFFFFF, "job.dat", "SomeCall").AsString().c_str(),
      "*** Error: Read failed (utl_File: SomeCall)\nerror: \nfile: job.dat");
}

TEST(FileExceptionsTest, ArgumentsAreNotSearchedForPlaceholders) {
  EXPECT_STREQ(utl_FileExceptionNoFile("%1$s", "in %2$s").AsString().c_str(),
               "*** Error: No such file (utl_File: in %2$s)\nfile name: %1$s");
}

}  // namespace
