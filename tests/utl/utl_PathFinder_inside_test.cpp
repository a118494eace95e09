#include "utl/utl_PathFinder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "common/failing/FailingCall.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"

namespace {

constexpr char kVariable[] = "KES_T_PATHS";

class PathFinderTest : public testing::Test {
 protected:
  PathFinderTest() {
    for (const char* directory : {"a", "b", "b/bin"}) {
      std::filesystem::create_directory(dir_.File(directory));
    }
    for (const char* file : {"b/tool", "b/prog.exe", "b/bin/deep", "a/both", "b/both"}) {
      WriteWholeFile(dir_.File(file), "");
    }
  }

  // A directory of the list as a user writes it.
  std::string In(const char* name) const { return dir_.ShownPath() + "\\" + name; }

  static std::string Found(const char* subDirectory, const char* name,
                           bool readable = false, bool tryExe = false,
                           bool withoutExe = false) {
    return std::string(std::string_view(utl_PathFinder::getSubDirPath(
        kVariable, subDirectory, name, readable, tryExe, withoutExe)));
  }

  TempDir dir_;
};

TEST_F(PathFinderTest, FindsTheFirstInTheOrderOfTheList) {
  ScopedEnvironment list(kVariable, (In("a") + ";" + In("b")).c_str());
  EXPECT_EQ(Found("", "tool"), In("b") + "/tool");
  EXPECT_EQ(Found("", "both"), In("a") + "/both");
  EXPECT_EQ(Found("bin", "deep"), In("b") + "/bin/deep");
  EXPECT_EQ(Found("", "none"), "");
}

TEST_F(PathFinderTest, EmptyEntriesOfTheListAreSkipped) {
  const CurrentDirectory current(dir_.File("b"));  // an empty entry is not this one
  ScopedEnvironment list(kVariable, (";;" + In("a") + ";;;" + In("b") + ";").c_str());
  EXPECT_EQ(Found("", "tool"), In("b") + "/tool");
  EXPECT_EQ(Found("", "none"), "");
  ScopedEnvironment onlySeparators(kVariable, ";;;");
  EXPECT_EQ(Found("", "tool"), "");
}

TEST_F(PathFinderTest, UnsetOrEmptyVariableOrEmptyNameFindsNothing) {
  ScopedEnvironment unset(kVariable, nullptr);
  EXPECT_EQ(Found("", "tool"), "");
  ScopedEnvironment empty(kVariable, "");
  EXPECT_EQ(Found("", "tool"), "");
  ScopedEnvironment list(kVariable, In("b").c_str());
  EXPECT_EQ(Found("", ""), "");
  EXPECT_EQ(Found("bin", ""), "");
}

TEST_F(PathFinderTest, JoinsWithSlashesWhateverTheDirectoryEndsIn) {
  ScopedEnvironment list(kVariable, (In("b") + "/").c_str());
  EXPECT_EQ(Found("", "tool"), In("b") + "//tool");
  EXPECT_EQ(Found("", "/tool"), In("b") + "//tool");
  ScopedEnvironment plain(kVariable, In("b").c_str());
  EXPECT_EQ(Found("", "/tool"), In("b") + "/tool");
  ScopedEnvironment backslash(kVariable, (In("b") + "\\").c_str());
  EXPECT_EQ(Found("", "tool"), In("b") + "\\/tool");
  ScopedEnvironment parent(kVariable, (In("") + "b/").c_str());
  EXPECT_EQ(Found("bin", "/deep"), In("") + "b/bin//deep");
}

// The system reports no existing file as unreadable of its own accord: every second
// question, the one for reading, is made to fail.
TEST_F(PathFinderTest, AnUnreadableHitEndsTheSearch) {
  ScopedEnvironment list(kVariable, (In("a") + ";" + In("b")).c_str());
  {
    const FailingCall unreadable(SystemCall::kAccess, ERROR_ACCESS_DENIED, 2);
    EXPECT_EQ(Found("", "both", true), "");
    EXPECT_TRUE(unreadable.Happened());
  }
  WriteWholeFile(dir_.File("a/prog.exe"), "");
  {
    const FailingCall unreadable(SystemCall::kAccess, ERROR_ACCESS_DENIED, 3);
    EXPECT_EQ(Found("", "prog", true, true), "");
    EXPECT_TRUE(unreadable.Happened());
  }
  EXPECT_EQ(Found("", "both", true), In("a") + "/both");
  const FailingCall notAsked(SystemCall::kAccess, ERROR_ACCESS_DENIED, 2);
  EXPECT_EQ(Found("", "both", false), In("a") + "/both");
  EXPECT_FALSE(notAsked.Happened());
}

TEST_F(PathFinderTest, TriesTheNameWithExe) {
  ScopedEnvironment list(kVariable, (In("a") + ";" + In("b")).c_str());
  EXPECT_EQ(Found("", "prog"), "");
  EXPECT_EQ(Found("", "prog", true, true), In("b") + "/prog.exe");
  EXPECT_EQ(Found("", "prog", true, true, true), In("b") + "/prog");
  EXPECT_EQ(Found("", "tool", true, true, true), In("b") + "/tool");
  EXPECT_EQ(Found("", "prog.exe", true, true, true), In("b") + "/prog.exe");
}

TEST_F(PathFinderTest, GetPathIgnoresItsLastFlag) {
  ScopedEnvironment list(kVariable, In("b").c_str());
  for (bool extra : {false, true}) {
    EXPECT_EQ(utl_PathFinder::getPath(kVariable, "prog", true, true, extra),
              cow_String(In("b") + "/prog.exe"));
    EXPECT_EQ(utl_PathFinder::getPath(kVariable, "tool", false, false, extra),
              cow_String(In("b") + "/tool"));
    EXPECT_EQ(utl_PathFinder::getPath(kVariable, "none", false, true, extra), "");
  }
}

}  // namespace
