// Every path is the one that utl_FilePath makes of prefix and name.

#include "utl/impl/utl_EntryPaths.h"

#include <gtest/gtest.h>

#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "utl/ExpectSamePath.h"

namespace {

constexpr const char* kPrefixes[] = {"Z:\\missing\\",
                                     "z:\\missing\\sub\\",
                                     "Z:\\missing\\\\",
                                     "\\missing\\",
                                     "\\m\\",
                                     "\\\\host\\share\\",
                                     "\\\\h\\",
                                     "Z:\\.\\",
                                     "Z:\\",
                                     "Z:",
                                     "Q:",
                                     "\\",
                                     "\\\\",
                                     "\\\\\\",
                                     "",
                                     "\\:\\",
                                     "missing\\",
                                     ".\\",
                                     "Z:/missing/",
                                     "Z:\\missing/sub\\",
                                     "Z:\\%KST_ENTRY_TEST%\\",
                                     "Z:\\$KST_ENTRY_TEST\\",
                                     "Z:\\a%b\\",
                                     "Z:\\a$\\",
                                     "kstrdb://h/",
                                     "kstrdb:\\",
                                     "Network connectors\\",
                                     "Z:\\missing",
                                     "Z:\\kstrdb:\\",
                                     "Z:\\missing.d\\"};

constexpr const char* kNames[] = {".",
                                  "..",
                                  "...",
                                  "a",
                                  "a.",
                                  "a.b",
                                  "a.b.c",
                                  ".a",
                                  "..a",
                                  "a..b",
                                  "a.bc",
                                  "a.b",
                                  "b.b",
                                  "noext",
                                  "",
                                  "a/b",
                                  "a\\b",
                                  "/",
                                  "\\",
                                  "a\\",
                                  "a:b",
                                  ":",
                                  "%KST_ENTRY_TEST%",
                                  "$KST_ENTRY_TEST",
                                  "%",
                                  "$",
                                  "$1",
                                  "b%c",
                                  "a b",
                                  "\xE9.\xFF",
                                  "Network connectors",
                                  "kstrdb:",
                                  "*",
                                  "?.x"};

void ExpectSame(const utl_FilePath& path, const utl_FilePath& expected) {
  ExpectSamePath(path, expected);
  // A path that is not plain says so by this.
  EXPECT_EQ(path.IsWriteable(), expected.IsWriteable());
  EXPECT_EQ(path.Exists(), expected.Exists());
}

}  // namespace

TEST(EntryPathsTest, SameAsResolvingThePath) {
  const ScopedEnvironment variable("KST_ENTRY_TEST", "\\value");
  for (const char* prefix : kPrefixes) {
    utl_EntryPaths paths(prefix);
    for (const char* name : kNames) {
      SCOPED_TRACE(std::string(prefix) + " and " + name);
      ExpectSame(paths.Make(name), utl_FilePath(cow_String(prefix) + name, ""));
    }
  }
}

TEST(EntryPathsTest, EveryByteInAName) {
  utl_EntryPaths paths("Z:\\missing\\");
  for (int byte = 1; byte < 256; ++byte) {
    const std::string name = std::string("a") + static_cast<char>(byte) + "b.c";
    SCOPED_TRACE(byte);
    ExpectSame(paths.Make(name.c_str()),
               utl_FilePath(("Z:\\missing\\" + name).c_str(), ""));
  }
}

TEST(EntryPathsTest, EarlierPathsStay) {
  utl_EntryPaths paths("Z:\\d\\");
  const utl_FilePath one = paths.Make("one.x");
  const utl_FilePath two = paths.Make("two.yy");
  const utl_FilePath three = paths.Make("three");
  EXPECT_EQ(one.AbsolutePathName(), "Z:\\d\\one.x");
  EXPECT_EQ(two.AbsolutePathName(), "Z:\\d\\two.yy");
  EXPECT_EQ(three.AbsolutePathName(), "Z:\\d\\three");
}
