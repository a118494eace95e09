#include "utl/utl_FilePath.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "common/environment/ScopedEnvironment.h"
#include "common/failing/FailingCall.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"

namespace {

// In `absolute`, "@" stands for the current directory with a backslash behind it.
struct Row {
  const char *name, *directory, *absolute, *pathName, *baseName, *extension;
};

const Row kRows[] = {
    // The name stands for the directory.
    {"", "", "@", "", "", ""},
    {".", "", "@", "", "", ""},
    {"", ".", "@", "", "", ""},
    {".", ".", "@", "", "", ""},
    {"", R"(D:\x)", R"(D:\x\)", "", "", ""},
    {".", R"(D:\x\)", R"(D:\x\)", "", "", ""},
    {"", "D:/x", R"(D:\x\)", "", "", ""},
    {"", "rel", R"(rel\)", "", "", ""},
    // Names under an absolute directory.
    {"data.inp", R"(D:\x)", R"(D:\x\data.inp)", "data.inp", "data", ".inp"},
    {"sub/f.txt", R"(D:\x)", R"(D:\x\sub\f.txt)", R"(sub\f.txt)", "f", ".txt"},
    {R"(sub\f.txt)", "D:/x/", R"(D:\x\sub\f.txt)", R"(sub\f.txt)", "f", ".txt"},
    {"a.b.c", R"(D:\x)", R"(D:\x\a.b.c)", "a.b.c", "a.b", ".c"},
    {".profile", R"(D:\x)", R"(D:\x\.profile)", ".profile", "", ".profile"},
    {"archive.", R"(D:\x)", R"(D:\x\archive.)", "archive.", "archive", "."},
    {"plain", R"(D:\x)", R"(D:\x\plain)", "plain", "plain", ""},
    {"..", R"(D:\x)", R"(D:\x\..)", "..", ".", "."},
    {R"(..\f)", R"(D:\x)", R"(D:\x\..\f)", R"(..\f)", "f", ""},
    {R"(dir\)", R"(D:\x)", R"(D:\x\dir)", "dir", "dir", ""},
    {R"(dir\\)", R"(D:\x)", R"(D:\x\dir)", "dir", "dir", ""},
    {R"(\f)", R"(D:\x)", R"(D:\x\f)", "f", "f", ""},
    {R"(\)", R"(D:\x)", R"(D:\x\.)", R"(\.)", "", "."},
    {R"(\\)", R"(D:\x)", R"(D:\x\.)", R"(\.)", "", "."},
    {R"(\\\f)", R"(D:\x)", R"(D:\x\f)", "f", "f", ""},
    {R"(\:f)", R"(D:\x)", R"(D:\x\:f)", ":f", ":f", ""},
    // Absolute names drop the directory.
    {R"(C:\tmp\a.b.c)", R"(D:\x)", R"(C:\tmp\a.b.c)", R"(C:\tmp\a.b.c)", "a.b", ".c"},
    {"C:/tmp/f.txt", R"(D:\x)", R"(C:\tmp\f.txt)", R"(C:\tmp\f.txt)", "f", ".txt"},
    {R"(C:\)", R"(D:\x)", R"(C:\.)", R"(C:\.)", "", "."},
    {R"(C:\\)", R"(D:\x)", "C:", "C:", "C:", ""},
    {R"(C:\dir\)", R"(D:\x)", R"(C:\dir)", R"(C:\dir)", "dir", ""},
    {R"(\ab)", R"(D:\x)", R"(\ab)", R"(\ab)", "ab", ""},
    {R"(\d\f.t)", R"(D:\x)", R"(\d\f.t)", R"(\d\f.t)", "f", ".t"},
    {R"(\\h\s\f.t)", R"(D:\x)", R"(\\h\s\f.t)", R"(\\h\s\f.t)", "f", ".t"},
    // Names with a drive and no root: the drive's current directory; Q: is absent.
    {"Z:", "", "@", "", "", ""},
    {"Z:", R"(D:\x)", "@", "", "", ""},
    {"z:rel.t", R"(D:\x)", "@rel.t", "rel.t", "rel", ".t"},
    {R"(Z:sub\f.t)", "", R"(@sub\f.t)", R"(sub\f.t)", "f", ".t"},
    {"Q:rel.t", R"(D:\x)", "rel.t", "rel.t", "rel", ".t"},
    {"Z:C:", "", R"(@C:\.)", R"(C:\.)", "", "."},
    // Directories, for a name without root.
    {"f.t", "", "@f.t", "f.t", "f", ".t"},
    {"f.t", ".", "@f.t", "f.t", "f", ".t"},
    {"f.t", "rel", "@f.t", "f.t", "f", ".t"},
    {"f.t", "rel/sub/", "@f.t", "f.t", "f", ".t"},
    {"f.t", R"(D:\)", R"(D:\f.t)", "f.t", "f", ".t"},
    {"f.t", R"(\\h\s)", R"(\\h\s\f.t)", "f.t", "f", ".t"},
    {"f.t", R"(\\)", "@f.t", "f.t", "f", ".t"},
    {"f.t", R"(\\\d)", "@f.t", "f.t", "f", ".t"},
    {"f.t", "\\", R"(Z:\f.t)", "f.t", "f", ".t"},
    {"f.t", R"(\d)", R"(Z:\d\f.t)", "f.t", "f", ".t"},
    {"f.t", "/d/e", R"(Z:\d\e\f.t)", "f.t", "f", ".t"},
    {"f.t", "Z:", "@f.t", "f.t", "f", ".t"},
    {"f.t", R"(Z:rel\sub)", "@f.t", "f.t", "f", ".t"},
    {"f.t", "Q:rel", "f.t", "f.t", "f", ".t"},
    {R"(\f)", "", "@f", "f", "f", ""},
    {R"(\f)", "Z:rel", R"(Z:\f)", "f", "f", ""},
    {R"(\f)", "Q:rel", R"(Q:\f)", "f", "f", ""},
};

void ExpectRowsFrom(const std::string& current) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string("name '") + row.name + "', directory '" + row.directory +
                 "'");
    std::string absolute = row.absolute;
    if (absolute.starts_with('@')) {
      absolute.replace(0, 1, current);
    }
    const utl_FilePath path(row.name, row.directory);
    EXPECT_EQ(path.AbsolutePathName(), absolute);
    EXPECT_EQ(path.PathName(), row.pathName);
    EXPECT_EQ(path.BaseName(), row.baseName);
    EXPECT_EQ(path.Extension(), row.extension);
    EXPECT_EQ(path.FileName(), path.BaseName() + path.Extension());
    EXPECT_EQ(path.AbsoluteDirectoryPath() + path.FileName(), path.AbsolutePathName());
  }
}

TEST(FilePathTest, ResolvesNamesAndDirectories) {
  TempDir dir;
  CurrentDirectory current(dir.Path());
  ExpectRowsFrom(dir.ShownPath() + "\\");
}

TEST(FilePathTest, ResolvesNamesAndDirectoriesFromTheRoot) {
  CurrentDirectory current("/");
  ExpectRowsFrom("Z:\\");
}

TEST(FilePathTest, EmptyPathHasNoText) {
  const utl_FilePath path;
  EXPECT_EQ(path.AbsolutePathName(), "");
  EXPECT_EQ(path.AbsoluteDirectoryPath(), "");
  EXPECT_EQ(path.PathName(), "");
  EXPECT_EQ(path.FileName(), "");
}

TEST(FilePathTest, NameThatStandsForTheDirectoryForgetsTheEarlierName) {
  for (const char* name : {"", "."}) {
    utl_FilePath path("sub\\f.txt", "D:\\x");
    path.SetFilePath(name, "E:\\y");
    EXPECT_EQ(path.AbsolutePathName(), "E:\\y\\");
    EXPECT_EQ(path.PathName(), "");
  }
}

TEST(FilePathTest, AbsoluteNameForgetsTheEarlierDirectory) {
  utl_FilePath path("f", "D:\\x");
  path.SetFilePath("E:\\g", "");
  EXPECT_EQ(path.AbsolutePathName(), "E:\\g");
}

TEST(FilePathTest, AbsentDriveLeavesTheDirectoryAsItWas) {
  utl_FilePath path("f", "D:\\x");
  path.SetFilePath("Q:g", "");
  EXPECT_EQ(path.AbsolutePathName(), "D:\\x\\g");
}

// What a path answers that is no file's.
void ExpectAnswersWithoutTheSystem(const utl_FilePath& path) {
  for (const SystemCall call : {SystemCall::kAccess, SystemCall::kCreateFile}) {
    const FailingCall asked(call, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(path.Exists());
    EXPECT_TRUE(path.IsReadable());
    EXPECT_FALSE(path.IsWriteable());
    EXPECT_FALSE(path.IsExecutable());
    EXPECT_FALSE(path.IsDir());
    EXPECT_FALSE(asked.Happened());
  }
}

TEST(FilePathTest, UrlIsKeptWholeAndNeverSoughtInTheFileSystem) {
  utl_FilePath path("kstrdb://server/db?x=1", "D:\\x");
  EXPECT_EQ(path.AbsolutePathName(), "kstrdb://server/db?x=1");
  EXPECT_EQ(path.PathName(), "kstrdb://server/db?x=1");
  EXPECT_EQ(path.FileName(), "kstrdb://server/db?x=1");
  EXPECT_EQ(path.BaseName(), "kstrdb://server/db?x=1");
  EXPECT_EQ(path.AbsoluteDirectoryPath(), "");
  EXPECT_EQ(path.Native().AbsolutePathName(), "kstrdb://server/db?x=1");
  EXPECT_EQ(path.Portable().AbsolutePathName(), "kstrdb://server/db?x=1");
  ExpectAnswersWithoutTheSystem(path);
}

TEST(FilePathTest, UrlDirectoryKeepsTheNameWhole) {
  const utl_FilePath path("sub/f.txt", "kstrdb://server/db");
  EXPECT_EQ(path.AbsolutePathName(), "sub/f.txt");
  ExpectAnswersWithoutTheSystem(path);
}

TEST(FilePathTest, UrlLeavesTheOtherPartsAsTheyWere) {
  utl_FilePath path("f.txt", "D:\\x");
  path.SetFilePath("kstrdb://server/db", "");
  EXPECT_EQ(path.BaseName(), "kstrdb://server/db");
  EXPECT_EQ(path.Extension(), ".txt");
  path.SetFilePath("g.dat", "D:\\y");
  EXPECT_EQ(path.AbsolutePathName(), "D:\\y\\g.dat");
}

TEST(FilePathTest, NetworkConnectorIsKeptWhole) {
  const struct {
    const char *name, *directory, *stored;
  } cases[] = {
      {"Network connectors/a/b.c", "D:\\x", "Network connectors/a/b.c"},
      {"Network connectors", "", "Network connectors"},
      {"f.txt", "Network connectors/sub", "Network connectorsf.txt"},
      {"Network connectors\\f", "Network connectors/sub", "Network connectors\\f"},
  };
  for (const auto& c : cases) {
    utl_FilePath path(c.name, c.directory);
    EXPECT_EQ(path.AbsolutePathName(), c.stored);
    EXPECT_EQ(path.PathName(), c.stored);
    EXPECT_EQ(path.FileName(), c.stored);
    EXPECT_EQ(path.BaseName(), c.stored);
    EXPECT_EQ(path.AbsoluteDirectoryPath(), "");
    EXPECT_EQ(path.Portable().Native().PathName(), c.stored);
    ExpectAnswersWithoutTheSystem(path);
  }
  EXPECT_EQ(utl_FilePath("network connectors/a", "D:\\").AbsolutePathName(),
            "D:\\network connectors\\a");
}

TEST(FilePathTest, FlagsAreSetAnewEachTime) {
  utl_FilePath path("Network connectors/a", "");
  path.SetFilePath("f", "D:\\x");
  EXPECT_EQ(path.AbsolutePathName(), "D:\\x\\f");
  path.SetFilePath("kstrdb://server/db", "");
  path.SetFilePath("Network connectors/a", "");
  EXPECT_EQ(path.AbsolutePathName(), "Network connectors/a");
}

TEST(FilePathTest, PortableAndNativeTurnTheSeparators) {
  utl_FilePath path("sub\\f.txt", "D:\\x");
  EXPECT_EQ(path.Portable().AbsolutePathName(), "D:/x/sub/f.txt");
  EXPECT_EQ(path.PathName(), "sub/f.txt");
  EXPECT_EQ(path.AbsoluteDirectoryPath(), "D:/x/sub/");
  EXPECT_EQ(path.Native().AbsolutePathName(), "D:\\x\\sub\\f.txt");
}

TEST(FilePathTest, ExpandsEnvironmentReferences) {
  ScopedEnvironment a("KES_T_A", "alpha");
  ScopedEnvironment b("KES_T_B", "x\\y");
  ScopedEnvironment c("KES_T_C", "%KES_T_A%$KES_T_A");
  ScopedEnvironment d("KES_T_D", "D:\\root");
  ScopedEnvironment p("KES_T_P", "50%");
  ScopedEnvironment none("KES_T_NONE", nullptr);
  const struct {
    const char *name, *expected;
  } cases[] = {
      {"%KES_T_A%", "alpha"},
      {"$KES_T_A", "alpha"},
      {"%KES_T_A%$KES_T_A", "alphaalpha"},
      {"a%KES_T_A%b", "aalphab"},
      {"%KES_T_B%/z", "x\\y\\z"},
      {"%KES_T_C%", "alphaalpha"},
      {"$KES_T_C", "%KES_T_A%alpha"},  // the % form has had its turn
      {"%KES_T_NONE%", "%KES_T_NONE%"},
      {"%KES_T_NONE%KES_T_A%", "%KES_T_NONE%KES_T_A%"},
      {"%KES_T_NONE%%KES_T_A%", "%KES_T_NONE%alpha"},
      {"$KES_T_NONE$KES_T_A", "$KES_T_NONEalpha"},
      {"$KES_T_A.x", "alpha.x"},
      {"$KES_T_Ax", "$KES_T_Ax"},
      {"$1$KES_T_A", "$1alpha"},
      {"$$KES_T_A", "$alpha"},
      {"a$", "a$"},
      {"%%", "%%"},
      {"%", "%"},
      {"%KES_T_A", "%KES_T_A"},
      {"%KES_T_P%x", "50%x"},
      {"$KES_T_P", "50%"},
      {"%KES_T_P%KES_T_A%", "50alpha"},  // values are expanded with what follows
  };
  for (const auto& c2 : cases) {
    EXPECT_EQ(utl_FilePath(c2.name, "D:\\").PathName(), c2.expected) << c2.name;
  }
  EXPECT_EQ(utl_FilePath("f", "$KES_T_D/sub").AbsolutePathName(), "D:\\root\\sub\\f");
  EXPECT_EQ(utl_FilePath("$KES_T_D\\f", "E:\\").AbsolutePathName(), "D:\\root\\f");
}

TEST(FilePathTest, SeparatorsInValuesAreNotUnified) {
  ScopedEnvironment value("KES_T_A", "x/y");
  const utl_FilePath path("%KES_T_A%", "D:\\");
  EXPECT_EQ(path.PathName(), "x/y");
  EXPECT_EQ(path.BaseName(), "x/y");
  // So this is a directory with a drive and no root: the drive's current one, if any.
  ScopedEnvironment absent("KES_T_B", "Q:/x");
  EXPECT_EQ(utl_FilePath("f", "$KES_T_B").AbsolutePathName(), "f");
}

TEST(FilePathTest, VariableThatNamesItselfComesToAnEnd) {
  ScopedEnvironment percent("KES_T_A", "%KES_T_A%x");
  ScopedEnvironment dollar("KES_T_B", "x$KES_T_B");
  EXPECT_EQ(utl_FilePath("%KES_T_A%", "D:\\").PathName(),
            "%KES_T_A%" + std::string(1000, 'x'));
  EXPECT_EQ(utl_FilePath("$KES_T_B", "D:\\").PathName(),
            std::string(1000, 'x') + "$KES_T_B");
}

// (Values have 32,767 characters at the most on one target.)
TEST(FilePathTest, ANameThatHasGrownBeyondAMegabyteIsExpandedNoFurther) {
  const std::string value(30'000, '-');
  ScopedEnvironment variable("KES_T_A", ("$KES_T_A" + value).c_str());
  EXPECT_EQ(utl_FilePath("$KES_T_A", "D:\\").PathName().Length(), 8 + 35 * 30'000);
  EXPECT_EQ(utl_FilePath("f", "D:\\$KES_T_A").AbsoluteDirectoryPath().Length(),
            3 + 8 + 35 * 30'000 + 1);
}

TEST(FilePathTest, FromPartsTakesThemAsTheyAre) {
  const utl_FilePath path = utl_FilePath::FromParts("Z:/%A%\\", "s\\", "$B", ".c");
  EXPECT_EQ(path.AbsoluteDirectoryPath(), "Z:/%A%\\s\\");
  EXPECT_EQ(path.PathName(), "s\\$B.c");
  EXPECT_EQ(path.BaseName(), "$B");
  EXPECT_EQ(path.Extension(), ".c");
  EXPECT_FALSE(utl_FilePath::FromParts("", "", "kstrdb:", "").Exists()) << "it is plain";
}

TEST(FilePathTest, NameOf256CharactersCountsAsUnset) {
  const std::string longest = "K" + std::string(254, 'a'), tooLong = longest + "a";
  ScopedEnvironment last(longest.c_str(), "in");
  ScopedEnvironment first(tooLong.c_str(), "out");
  EXPECT_EQ(utl_FilePath(cow_String("$" + longest), "D:\\").PathName(), "in");
  EXPECT_EQ(utl_FilePath(cow_String("$" + tooLong), "D:\\").PathName(), "$" + tooLong);
  EXPECT_EQ(utl_FilePath(cow_String("%" + longest + "%"), "D:\\").PathName(), "in");
  EXPECT_EQ(utl_FilePath(cow_String("%" + tooLong + "%"), "D:\\").PathName(),
            "%" + tooLong + "%");
}

TEST(FilePathTest, LaterChangeOfDirectoryDoesNotMoveAPath) {
  TempDir dir;
  CurrentDirectory current(dir.Path());
  const utl_FilePath path("f", "");
  CurrentDirectory root("/");
  EXPECT_EQ(path.AbsolutePathName(), dir.ShownPath() + "\\f");
}

TEST(FilePathTest, AnswersAboutTheFileSystem) {
  TempDir dir;
  const cow_String directory(dir.ShownPath());
  WriteWholeFile(dir.File("run.exe"), "");
  WriteWholeFile(dir.File("run.bat"), "");
  WriteWholeFile(dir.File("run.EXE2"), "");
  WriteWholeFile(dir.File("RUN2.EXE"), "");
  std::filesystem::create_directory(dir.File("sub"));

  const utl_FilePath exe("run.exe", directory), missing("none.exe", directory);
  EXPECT_TRUE(exe.Exists());
  EXPECT_TRUE(exe.IsReadable());
  EXPECT_TRUE(exe.IsWriteable());
  EXPECT_TRUE(exe.IsExecutable());
  EXPECT_FALSE(exe.IsDir());
  EXPECT_TRUE(utl_FilePath("run.bat", directory).IsExecutable());
  EXPECT_FALSE(utl_FilePath("run.EXE2", directory).IsExecutable());
  EXPECT_FALSE(utl_FilePath("RUN2.EXE", directory).IsExecutable());
  EXPECT_FALSE(missing.Exists());
  EXPECT_FALSE(missing.IsReadable());
  EXPECT_FALSE(missing.IsExecutable());
  EXPECT_FALSE(missing.IsDir());

  EXPECT_TRUE(utl_FilePath("sub", directory).IsDir());
  EXPECT_TRUE(utl_FilePath("sub", directory).Exists());
  EXPECT_FALSE(utl_FilePath("", directory).IsDir());  // ends in a separator
  EXPECT_TRUE(utl_FilePath("sub", directory).Portable().IsDir());
}

TEST(FilePathTest, IsWriteableLeavesNoFileBehind) {
  TempDir dir;
  const utl_FilePath path("new.dat", cow_String(dir.ShownPath()));
  EXPECT_TRUE(path.IsWriteable());
  EXPECT_FALSE(FileExists(dir.File("new.dat")));
  EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
  EXPECT_FALSE(utl_FilePath("none\\new.dat", cow_String(dir.ShownPath())).IsWriteable());
}

TEST(FilePathTest, FileWithoutWritePermissionIsNotWriteable) {
  TempDir dir;
  WriteWholeFile(dir.File("f"), "x");
  std::filesystem::permissions(dir.File("f"), std::filesystem::perms::owner_read);
  const utl_FilePath path("f", cow_String(dir.ShownPath()));
  EXPECT_FALSE(path.IsWriteable());
  EXPECT_TRUE(path.IsReadable());
}

TEST(FilePathTest, ContainersHoldPaths) {
  cow_List<utl_FilePath> list;
  list.Prepend(utl_FilePath("b", "D:\\"));
  list.Prepend(utl_FilePath("a", "D:\\"));
  cow_1DArray<utl_FilePath> array;
  for (const utl_FilePath& path : list) {
    array.Append(path);
  }
  EXPECT_EQ(array.Length(), 2);
  EXPECT_EQ(array[0].FileName(), "a");
}

}  // namespace
