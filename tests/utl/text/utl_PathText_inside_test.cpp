#include "utl/impl/text/utl_PathText.h"

#include <gtest/gtest.h>

#include <cctype>

namespace {

TEST(PathTextTest, LettersAndDigitsAreThoseOfAscii) {
  for (int code = -128; code < 128; ++code) {
    const char c = static_cast<char>(code);
    SCOPED_TRACE(code);
    EXPECT_EQ(utl_isLetter(c), code > 0 && std::isalpha(code) != 0);
    EXPECT_EQ(utl_isDigit(c), code > 0 && std::isdigit(code) != 0);
    EXPECT_EQ(utl_smallLetter(c), code > 0 ? std::tolower(code) : code);
  }
}

TEST(PathTextTest, StartsOfPaths) {
  const struct {
    const char* path;
    bool drive, driveAndRoot, hostStart, host, absoluteDirectory, absoluteName;
  } cases[] = {
      {"", false, false, false, false, false, false},
      {"C", false, false, false, false, false, false},
      {"C:", true, false, false, false, false, false},
      {"c:x", true, false, false, false, false, false},
      {"C:\\", true, true, false, false, true, true},
      {"C:\\x", true, true, false, false, true, true},
      {"C:/x", true, false, false, false, false, false},
      {"1:\\", false, false, false, false, false, false},
      {"\xC3:\\", false, false, false, false, false, false},
      {"\\", false, false, false, false, false, false},
      {"\\a", false, false, false, false, false, false},
      {"\\ab", false, false, false, false, false, true},
      {"\\:b", false, false, false, false, false, false},
      {"\\\\", false, false, true, false, false, false},
      {"\\\\h", false, false, true, true, true, true},
      {"\\\\:", false, false, true, true, true, true},
      {"\\\\\\", false, false, true, false, false, false},
      {"//h", false, false, false, false, false, false},
      {"abc", false, false, false, false, false, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(utl_hasDrive(row.path), row.drive);
    EXPECT_EQ(utl_hasDriveAndRoot(row.path), row.driveAndRoot);
    EXPECT_EQ(utl_hasHostStart(row.path), row.hostStart);
    EXPECT_EQ(utl_hasHost(row.path), row.host);
    EXPECT_EQ(utl_isAbsoluteDirectory(row.path), row.absoluteDirectory);
    EXPECT_EQ(utl_isAbsoluteName(row.path), row.absoluteName);
  }
}

TEST(PathTextTest, DriveNumbers) {
  EXPECT_EQ(utl_driveNumber('a'), 1);
  EXPECT_EQ(utl_driveNumber('A'), 1);
  EXPECT_EQ(utl_driveNumber('Z'), 26);
}

TEST(PathTextTest, TrailingSeparators) {
  EXPECT_EQ(utl_withoutTrailingSeparators("a\\b\\\\"), "a\\b");
  EXPECT_EQ(utl_withoutTrailingSeparators("\\\\"), "");
  EXPECT_EQ(utl_withoutTrailingSeparators("a/"), "a/");
  for (const char* path : {"a", "a\\"}) {
    cow_String closed = path;
    utl_addSeparator(closed);
    EXPECT_EQ(closed, "a\\");
  }
  cow_String empty;
  utl_addSeparator(empty);
  EXPECT_EQ(empty, "\\");
}

}  // namespace
