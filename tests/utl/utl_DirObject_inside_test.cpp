// What a listing holds, and in which order.

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <thread>

#include "common/environment/ScopedEnvironment.h"
#include "utl/DirObjectTest.h"
#include "utl/ExpectSamePath.h"

using testing::IsSubsetOf;
using testing::UnorderedElementsAreArray;

TEST_F(DirObjectTest, OneFile) {
  MakeFiles({"a.txt"});
  const utl_DirObject listing = List();
  EXPECT_EQ(AbsoluteNames(listing.GetAllFileNames()),
            Texts{dir_.ShownPath() + "\\a.txt"});
  EXPECT_THAT(
      AbsoluteNames(listing.GetAllDirNames()),
      UnorderedElementsAreArray({dir_.ShownPath() + "\\.", dir_.ShownPath() + "\\.."}));
  EXPECT_EQ(listing.FileCount(), 1);
  EXPECT_EQ(listing.DirCount(), 2);
}

TEST_F(DirObjectTest, EmptyDirectoryHoldsItselfAndItsParent) {
  const utl_DirObject listing = List();
  EXPECT_TRUE(listing.GetAllFileNames().IsEmpty());
  EXPECT_THAT(FileNames(listing.GetAllDirNames()),
              UnorderedElementsAreArray({".", ".."}));
  EXPECT_EQ(listing.FileCount(), 0);
  EXPECT_EQ(listing.DirCount(), 2);
}

TEST_F(DirObjectTest, ListsStandInReverseEnumerationOrder) {
  MakeFiles({"b.txt", "C.txt", "a.txt", "x", "_"});
  MakeDirectories({"sub", "Dir", "another"});
  const utl_DirObject listing = List();
  EXPECT_EQ(FilesInOrder().size(), 5U);
  EXPECT_EQ(DirsInOrder().size(), 5U);
  EXPECT_EQ(AbsoluteNames(listing.GetAllFileNames()), Below(Reversed(FilesInOrder())));
  EXPECT_EQ(AbsoluteNames(listing.GetAllDirNames()), Below(Reversed(DirsInOrder())));
}

TEST_F(DirObjectTest, AllEntriesAreFilesThenDirectoriesInEnumerationOrder) {
  MakeFiles({"b.txt", "C.txt", "a.txt", "x", "_"});
  MakeDirectories({"sub", "Dir", "another"});
  EXPECT_EQ(AbsoluteNames(List().GetAllEntries()),
            Below(Joined(FilesInOrder(), DirsInOrder())));
}

TEST_F(DirObjectTest, ManyEntries) {
  constexpr int kFiles = 500;
  for (int i = 0; i < kFiles; ++i) {
    WriteWholeFile(dir_.File(std::string(100, 'n') + std::to_string(i)), "");
  }
  const utl_DirObject listing = List();
  EXPECT_EQ(listing.FileCount(), kFiles);
  EXPECT_EQ(listing.GetAllFileNames().Length(), kFiles);
  EXPECT_EQ(listing.GetAllEntries().Length(), kFiles + 2);
  EXPECT_EQ(FileNames(listing.GetAllFileNames()), Reversed(FilesInOrder()));
}

// Of what the targets tell of an entry beside its name, the kind alone counts.
TEST_F(DirObjectTest, EntriesOfAllSizesTimesAndPermissions) {
  namespace fs = std::filesystem;
  MakeFiles({"empty", "old", ".hidden", "readonly", "large"});
  MakeDirectories({"dir", ".hiddendir", "readonlydir"});
  fs::resize_file(dir_.File("large"), 1 << 20);
  fs::last_write_time(dir_.File("old"), {});
  for (const char* name : {"readonly", "readonlydir"}) {
    fs::permissions(dir_.File(name), fs::perms::owner_read | fs::perms::owner_exec);
  }
  const utl_DirObject listing = List();
  EXPECT_THAT(
      FileNames(listing.GetAllFileNames()),
      UnorderedElementsAreArray({"empty", "old", ".hidden", "readonly", "large"}));
  EXPECT_THAT(FileNames(listing.GetAllDirNames()),
              UnorderedElementsAreArray({".", "..", "dir", ".hiddendir", "readonlydir"}));
}

TEST_F(DirObjectTest, SnapshotDoesNotChange) {
  MakeFiles({"a", "b"});
  const utl_DirObject listing = List();
  const Texts names = FileNames(listing.GetAllFileNames());
  std::filesystem::remove(dir_.File("a"));
  MakeFiles({"c"});
  EXPECT_EQ(FileNames(listing.GetAllFileNames()), names);
  EXPECT_EQ(List().FileCount(), 2);
  EXPECT_NE(FileNames(List().GetAllFileNames()), names);
}

TEST_F(DirObjectTest, AlteredResultLeavesTheListing) {
  MakeFiles({"a"});
  const utl_DirObject listing = List();
  cow_List<utl_FilePath> files = listing.GetAllFileNames();
  files.Prepend(utl_FilePath("more", ""));
  EXPECT_EQ(listing.GetAllFileNames().Length(), 1);
}

TEST_F(DirObjectTest, CopiesHoldTheSameEntries) {
  MakeFiles({"a", "b"});
  MakeDirectories({"d"});
  const utl_DirObject listing = List();
  MakeFiles({"c"});
  utl_DirObject copy = List();
  copy = listing;
  EXPECT_EQ(copy.FileCount(), 2);
  EXPECT_EQ(AbsoluteNames(copy.GetAllEntries()), AbsoluteNames(listing.GetAllEntries()));
}

TEST_F(DirObjectTest, PathOfTheCallerIsCopied) {
  MakeFiles({"a"});
  utl_FilePath path(dir_.ShownPath().c_str(), "");
  const utl_DirObject listing(path);
  path.SetFilePath("Z:\\elsewhere", "");
  EXPECT_EQ(AbsoluteNames(listing.GetAllFileNames()), Texts{dir_.ShownPath() + "\\a"});
}

// The entries' paths begin as the directory's own absolute name does.
TEST_F(DirObjectTest, FormsOfTheDirectorysName) {
  MakeFiles({"a"});
  MakeDirectories({"d"});
  MakeFiles({"d/inner"});
  const std::string shown = dir_.ShownPath();
  const std::string withoutDrive = shown.substr(2);
  const CurrentDirectory current(dir_.Path());
  const struct {
    std::string name;
    std::string directory;
    std::string file;
  } cases[] = {{shown, "", shown + "\\a"},
               {shown + "\\", "", shown + "\\a"},
               {withoutDrive, "", withoutDrive + "\\a"},
               {"", "", shown + "\\\\a"},
               {".", "", shown + "\\\\a"},
               {"", shown, shown + "\\\\a"},
               {"d", "", shown + "\\d\\inner"},
               {"d", shown, shown + "\\d\\inner"},
               {".\\d", "", shown + "\\.\\d\\inner"},
               {"d\\..\\d", "", shown + "\\d\\..\\d\\inner"},
               {"D", "", shown + "\\D\\inner"},
               {shown + "\\d\\.", "", shown + "\\d\\.\\inner"},
               {shown + "\\\\d", "", shown + "\\\\d\\inner"}};
  for (const auto& one : cases) {
    const utl_DirObject listing(utl_FilePath(one.name.c_str(), one.directory.c_str()));
    EXPECT_EQ(AbsoluteNames(listing.GetAllFileNames()), Texts{one.file}) << one.name;
  }
}

TEST_F(DirObjectTest, PortableName) {
  MakeFiles({"a"});
  utl_FilePath path(dir_.ShownPath().c_str(), "");
  const utl_DirObject listing(path.Portable());
  EXPECT_EQ(AbsoluteNames(listing.GetAllFileNames()), Texts{dir_.ShownPath() + "\\a"});
}

TEST_F(DirObjectTest, RootOfADrive) {
  const utl_DirObject listing = Listing("Z:\\");
  const Texts dirs = AbsoluteNames(listing.GetAllDirNames());
  EXPECT_THAT(Texts({"Z:\\.\\tmp", "Z:\\.\\usr"}), IsSubsetOf(dirs));
  for (const char* own : {"Z:\\.\\.", "Z:\\.\\.."}) {
    EXPECT_EQ(std::count(dirs.begin(), dirs.end(), own), 0) << own;
  }
}

// An empty path's name is empty, and a backslash behind it is the root.
TEST_F(DirObjectTest, EmptyPathIsTheRoot) {
  const utl_DirObject listing{utl_FilePath()};
  EXPECT_EQ(AbsoluteNames(listing.GetAllDirNames()).size(),
            AbsoluteNames(Listing("Z:\\").GetAllDirNames()).size());
  const Texts dirs = AbsoluteNames(listing.GetAllDirNames());
  EXPECT_THAT(Texts({"\\tmp", "\\usr"}), IsSubsetOf(dirs));
}

// Every entry's path is that which its name makes, whatever characters are in it.
TEST_F(DirObjectTest, EntriesAreThePathsOfTheirNames) {
  const ScopedEnvironment variable("KST_DIR_TEST", "value");
  MakeFiles({"plain", "a.b.c", ".dot", "%KST_DIR_TEST%.x", "$KST_DIR_TEST.y", "%", "$",
             "100%", "a b.c d", "#", "x,y;z", "(1)", "~", "Network connectors", "e.",
             "..x", "-", "kstrdb"});
  MakeDirectories({"dir.d", "%KST_DIR_TEST%", "$DIR"});
  const auto expect = [this](const cow_List<utl_FilePath>& paths, const Texts& names) {
    ASSERT_EQ(paths.Length(), static_cast<int>(names.size()));
    auto name = names.rbegin();
    for (const utl_FilePath& path : paths) {
      SCOPED_TRACE(*name);
      ExpectSamePath(path, utl_FilePath((dir_.ShownPath() + "\\" + *name++).c_str(), ""));
    }
  };
  expect(List().GetAllFileNames(), FilesInOrder());
  expect(List().GetAllDirNames(), DirsInOrder());
  EXPECT_EQ(FilesInOrder().size(), 18U);
}

TEST_F(DirObjectTest, VariablesInNamesAreReplaced) {
  const ScopedEnvironment variable("KST_DIR_TEST", "value");
  MakeFiles({"%KST_DIR_TEST%.x"});
  EXPECT_EQ(AbsoluteNames(List().GetAllFileNames()),
            Texts{dir_.ShownPath() + "\\value.x"});
}

// "%" in the directory's name and in an entry's make a reference together.
TEST_F(DirObjectTest, VariablesAcrossDirectoryAndName) {
  MakeDirectories({"p%q"});
  MakeFiles({"p%q/r%s"});
  const ScopedEnvironment variable("q\\r", "-");
  const Texts names =
      AbsoluteNames(Listing(dir_.ShownPath() + "\\p%q").GetAllFileNames());
  EXPECT_EQ(names, Texts{dir_.ShownPath() + "\\p-s"});
}

TEST_F(DirObjectTest, ThreadsListAndShare) {
  MakeFiles({"a.x", "b.x", "c.y"});
  const utl_DirObject shared = List();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&shared, this] {
      for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(List().FileCount(), 3);
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): under test.
        const utl_DirObject copy = shared;
        EXPECT_EQ(copy.FindFileNamesWithExtension(".x").Length(), 2);
        EXPECT_EQ(shared.GetAllEntries().Length(), 5);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}
