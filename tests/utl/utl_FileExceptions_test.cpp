#include <gtest/gtest.h>

#include <string>

#include "common/ExceptionContract.h"
#include "omi/omi_SystemErrorCode.h"
#include "utl/utl_File.h"

namespace {

constexpr int kCode = 5;
const cow_String kPath = "C:\\work\\job.dat";

// "<head> (utl_File: <operation>)\nerror: <the system's text>\nfile: <path>"
std::string CodeText(const std::string& head) {
  return head + " (utl_File: SomeCall)\nerror: " +
         omi_SystemErrorCode(omi_SystemErrorCode::kSystem, kCode).Text() +
         "\nfile: C:\\work\\job.dat";
}

TEST(utl_FileExceptions, Open) {
  ExpectExceptionContract(utl_FileExceptionOpen(kCode, kPath, "SomeCall"),
                          CodeText("*** Error: File open failed"));
}

TEST(utl_FileExceptions, NoFile) {
  ExpectExceptionContract(
      utl_FileExceptionNoFile(kPath, "in OpenRead"),
      "*** Error: No such file (utl_File: in OpenRead)\nfile name: C:\\work\\job.dat");
}

TEST(utl_FileExceptions, CloseHasItsOwnHead) {
  ExpectExceptionContract(utl_FileExceptionClose(kCode, kPath, "SomeCall"),
                          CodeText("***ERROR: File close failed"));
}

TEST(utl_FileExceptions, Seek) {
  ExpectExceptionContract(utl_FileExceptionSeek(kCode, kPath, "SomeCall"),
                          CodeText("*** Error: Seek failed"));
}

TEST(utl_FileExceptions, Location) {
  ExpectExceptionContract(utl_FileExceptionLocation(kCode, kPath, "SomeCall"),
                          CodeText("*** Error: Get file location failed"));
}

TEST(utl_FileExceptions, FlushOfACall) {
  ExpectExceptionContract(utl_FileExceptionFlush(kCode, kPath, "SomeCall"),
                          CodeText("*** Error: Flush failed"));
}

TEST(utl_FileExceptions, FlushWithAReason) {
  ExpectExceptionContract(
      utl_FileExceptionFlush(kPath, "a reason"),
      "*** Error: Flush failed (utl_File: a reason)\nfile name: C:\\work\\job.dat");
}

TEST(utl_FileExceptions, Read) {
  ExpectExceptionContract(utl_FileExceptionRead(kCode, kPath, "SomeCall"),
                          CodeText("*** Error: Read failed"));
}

TEST(utl_FileExceptions, WriteOfACall) {
  ExpectExceptionContract(utl_FileExceptionWrite(kCode, kPath, "SomeCall"),
                          CodeText("*** Error: Write failed"));
}

TEST(utl_FileExceptions, WriteWithAReason) {
  ExpectExceptionContract(
      utl_FileExceptionWrite(kPath, "a reason"),
      "*** Error: Write failed (utl_File: a reason)\nfile name: C:\\work\\job.dat");
}

TEST(utl_FileExceptions, FullDoesNotShowThePath) {
  ExpectExceptionContract(utl_FileExceptionFull(kPath),
                          "*** Error: Free disk space depleted\nfile name: %2$s");
}

TEST(utl_FileExceptions, Size) {
  ExpectExceptionContract(utl_FileExceptionSize(kCode, kPath, "SomeCall"),
                          CodeText("*** Error: Get file size failed"));
}

TEST(utl_FileExceptions, Extend) {
  ExpectExceptionContract(utl_FileExceptionExtend(kCode, kPath, "SomeCall"),
                          CodeText("*** Error: Extend failed"));
}

// Every code that comes with a text shows it as the system gives it; what has none shows
// nothing in its place.
TEST(utl_FileExceptions, ACodeWithoutTextIsEmpty) {
  EXPECT_STREQ(utl_FileExceptionRead(0x2FFFFFFF, kPath, "SomeCall").AsString().c_str(),
               "*** Error: Read failed (utl_File: SomeCall)\nerror: \nfile: "
               "C:\\work\\job.dat");
}

TEST(utl_FileExceptions, ArgumentsAreNotSearchedForPlaceholders) {
  EXPECT_STREQ(utl_FileExceptionNoFile("%1$s", "in %2$s").AsString().c_str(),
               "*** Error: No such file (utl_File: in %2$s)\nfile name: %1$s");
}

}  // namespace
