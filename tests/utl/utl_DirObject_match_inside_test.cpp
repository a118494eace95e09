// Searching a listing.

#include <algorithm>

#include "common/environment/ScopedEnvironment.h"
#include "utl/DirObjectTest.h"

namespace {

// `names` in the order in which `all` holds them.
Texts Ordered(const Texts& all, const Texts& names) {
  Texts result;
  for (const std::string& name : all) {
    if (std::find(names.begin(), names.end(), name) != names.end()) {
      result.push_back(name);
    }
  }
  return result;
}

}  // namespace

class DirObjectMatchTest : public DirObjectTest {
 protected:
  DirObjectMatchTest() {
    MakeFiles({"a.txt", "b.c.txt", ".txt", "a.TXT.old", "txtfile", "noext", "Q.TXT"});
    MakeDirectories({"txtdir", "other.txt"});
  }
};

TEST_F(DirObjectMatchTest, FilenamesContainTheText) {
  const struct {
    const char* text;
    Texts names;
  } cases[] = {
      {"txt", {"a.txt", "b.c.txt", ".txt", "txtfile"}},
      {".txt", {"a.txt", "b.c.txt", ".txt"}},
      {"TXT", {"a.TXT.old", "Q.TXT"}},
      {"a.txt", {"a.txt"}},
      {"a.txt ", {}},
      {"noext", {"noext"}},
      {"oex", {"noext"}},
      {".", {"a.txt", "b.c.txt", ".txt", "a.TXT.old", "Q.TXT"}},
      {"", {"a.txt", "b.c.txt", ".txt", "a.TXT.old", "txtfile", "noext", "Q.TXT"}},
      {"*", {}},
      {"?", {}},
      {"other", {}},
      {"\\", {}},
  };
  const utl_DirObject listing = List();
  for (const auto& one : cases) {
    EXPECT_EQ(FileNames(listing.PrefixMatchFilenames(one.text)),
              Ordered(FilesInOrder(), one.names))
        << one.text;
  }
}

TEST_F(DirObjectMatchTest, TextOfTheDirectorysNameMatchesNoFile) {
  const std::string name = std::filesystem::path(dir_.Path()).filename().string();
  EXPECT_TRUE(List().PrefixMatchFilenames(name.c_str()).IsEmpty());
}

TEST_F(DirObjectMatchTest, NullMatchesAsTheEmptyTextDoes) {
  EXPECT_EQ(List().PrefixMatchFilenames(nullptr).Length(), 7);
  EXPECT_EQ(List().PrefixMatchDirNames(nullptr).Length(), 4);
  EXPECT_EQ(List().PrefixMatchAllEntries(nullptr).Length(), 11);
  EXPECT_TRUE(List().FindFileNamesWithExtension(nullptr).IsEmpty());
}

TEST_F(DirObjectMatchTest, LongTextMatchesNothing) {
  const cow_String text(std::string(1'000'000, 'x'));
  EXPECT_TRUE(List().PrefixMatchAllEntries(text).IsEmpty());
  EXPECT_TRUE(List().FindFileNamesWithExtension(text).IsEmpty());
}

TEST_F(DirObjectMatchTest, TextWithAZeroByteMatchesNothing) {
  const cow_String text("txt\0", 4);
  EXPECT_TRUE(List().PrefixMatchAllEntries(text).IsEmpty());
  EXPECT_TRUE(List().FindFileNamesWithExtension(cow_String(".txt\0", 5)).IsEmpty());
}

// Bare names are resolved as such: against the current directory, not the listed one.
TEST_F(DirObjectMatchTest, FoundFilesHaveBareNames) {
  const TempDir elsewhere;
  const CurrentDirectory current(elsewhere.Path());
  const utl_DirObject listing = List();
  for (const auto& found :
       {listing.PrefixMatchFilenames("a.txt"), listing.PrefixMatchAllEntries("a.txt")}) {
    EXPECT_EQ(Each(found, &utl_FilePath::PathName), Texts{"a.txt"});
    EXPECT_EQ(FileNames(found), Texts{"a.txt"});
    EXPECT_EQ(AbsoluteNames(found), Texts{elsewhere.ShownPath() + "\\a.txt"});
  }
  const auto found = listing.FindFileNamesWithExtension(".old");
  EXPECT_EQ(Each(found, &utl_FilePath::PathName), Texts{"a.TXT.old"});
  EXPECT_EQ(AbsoluteNames(found), Texts{elsewhere.ShownPath() + "\\a.TXT.old"});
}

// Of an entry Z:\dir\sub that is Z:\dir\: the search never sees "sub".
TEST_F(DirObjectMatchTest, DirNamesAreThoseOfTheListedDirectory) {
  const utl_DirObject listing = List();
  const Texts fourTimes(4, dir_.ShownPath());
  const std::string name = std::filesystem::path(dir_.Path()).filename().string();
  EXPECT_EQ(AbsoluteNames(listing.PrefixMatchDirNames(name.c_str())), fourTimes);
  EXPECT_EQ(AbsoluteNames(listing.PrefixMatchDirNames((name + "\\").c_str())), fourTimes);
  EXPECT_EQ(AbsoluteNames(listing.PrefixMatchDirNames("Z:\\")), fourTimes);
  EXPECT_EQ(AbsoluteNames(listing.PrefixMatchDirNames("")), fourTimes);
  EXPECT_TRUE(listing.PrefixMatchDirNames("txtdir").IsEmpty());
  EXPECT_TRUE(listing.PrefixMatchDirNames("other.txt").IsEmpty());
  EXPECT_TRUE(listing.PrefixMatchDirNames((name + "\\t").c_str()).IsEmpty());
}

// One that variables have led elsewhere shows the order of the results.
TEST_F(DirObjectMatchTest, DirNamesStandInEnumerationOrder) {
  const ScopedEnvironment one("KST_DIR_ONE", "one\\x");
  const ScopedEnvironment two("KST_DIR_TWO", "two\\x");
  MakeDirectories({"%KST_DIR_ONE%", "%KST_DIR_TWO%"});
  Texts expected;
  for (const std::string& dir : DirsInOrder()) {
    const std::string shown = dir_.ShownPath();
    expected.push_back(dir == "%KST_DIR_ONE%"   ? shown + "\\one"
                       : dir == "%KST_DIR_TWO%" ? shown + "\\two"
                                                : shown);
  }
  EXPECT_EQ(AbsoluteNames(List().PrefixMatchDirNames("")), expected);
  EXPECT_EQ(AbsoluteNames(List().PrefixMatchDirNames("one")),
            Texts{dir_.ShownPath() + "\\one"});
}

TEST_F(DirObjectMatchTest, AllEntriesAreFilesThenDirectories) {
  const utl_DirObject listing = List();
  EXPECT_EQ(Each(listing.PrefixMatchAllEntries(""), &utl_FilePath::PathName),
            Joined(FilesInOrder(), Texts(4, dir_.ShownPath())));
  EXPECT_EQ(Each(listing.PrefixMatchAllEntries("txt"), &utl_FilePath::PathName),
            Ordered(FilesInOrder(), {"a.txt", "b.c.txt", ".txt", "txtfile"}));
  EXPECT_EQ(Each(listing.PrefixMatchAllEntries("Z:"), &utl_FilePath::PathName),
            Texts(4, dir_.ShownPath()));
  EXPECT_TRUE(listing.PrefixMatchAllEntries("nothing of that").IsEmpty());
}

TEST_F(DirObjectMatchTest, FilesWithExtension) {
  const struct {
    const char* extension;
    Texts names;
  } cases[] = {
      {".txt", {"a.txt", "b.c.txt"}},
      {".TXT", {"Q.TXT"}},
      {".Txt", {}},
      {"txt", {}},
      {".c.txt", {}},
      {".tx", {}},
      {".txt.", {}},
      {".old", {"a.TXT.old"}},
      {".", {}},
      {"", {}},
      {"noext", {}},
      {"*", {}},
  };
  const utl_DirObject listing = List();
  for (const auto& one : cases) {
    EXPECT_EQ(FileNames(listing.FindFileNamesWithExtension(one.extension)),
              Ordered(FilesInOrder(), one.names))
        << one.extension;
  }
}

TEST_F(DirObjectMatchTest, LastDotAtTheEnd) {
  MakeFiles({"end."});
  if (!FileExists(dir_.File("end.")) || FileExists(dir_.File("end"))) {
    GTEST_SKIP() << "names lose their last dot here";
  }
  EXPECT_EQ(FileNames(List().FindFileNamesWithExtension(".")), Texts{"end."});
}
