// Listing directories, the current one, the space of disks, unused names.

#include <direct.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/shell/Shell.h"
#include "common/temp/CurrentDirectory.h"
#include "platform/PlatformTest.h"

namespace {

struct Listed {
  std::vector<std::string> names;  // as they came
  DWORD code;                      // with which the listing ended or did not begin

  // In the order of their bytes, each followed by a blank.
  std::string Sorted() const {
    std::string all;
    for (const std::string& name : std::set<std::string>(names.begin(), names.end())) {
      all += name + " ";
    }
    return all;
  }
};

Listed List(const std::string& pattern) {
  WIN32_FIND_DATAA data;
  SetLastError(kUntouched);
  const HANDLE search = FindFirstFileA(pattern.c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) {
    return {{}, GetLastError()};
  }
  Listed listed;
  do {
    listed.names.emplace_back(data.cFileName);
    SetLastError(kUntouched);
  } while (FindNextFileA(search, &data));
  listed.code = GetLastError();
  EXPECT_TRUE(FindClose(search));
  return listed;
}

DWORD Attributes(const std::string& path) {
  WIN32_FIND_DATAA data = {};
  const HANDLE search = FindFirstFileA(path.c_str(), &data);
  EXPECT_NE(search, INVALID_HANDLE_VALUE);
  FindClose(search);
  return data.dwFileAttributes;
}

}  // namespace

class DirectoryTest : public PlatformTest {
 protected:
  std::string Below(const std::string& name) const { return dir_.Path() + "\\" + name; }

 private:
  CurrentDirectory current_{dir_.Path()};  // which tests change, and this gives back
};

TEST_F(DirectoryTest, Patterns) {
  for (const char* name : {"B.txt", "c.TXT", "c.txt.bak", "_x"}) {
    WriteWholeFile(Name(name), "");
  }
  const struct {
    const char* pattern;
    const char* names;
    DWORD code;
  } cases[] = {
      {"*", ". .. B.txt _x a c.TXT c.txt.bak d ", ERROR_NO_MORE_FILES},
      {"*.*", ". .. B.txt _x a c.TXT c.txt.bak d ", ERROR_NO_MORE_FILES},
      {"*.txt", "B.txt c.TXT ", ERROR_NO_MORE_FILES},
      {"?.txt", "B.txt c.TXT ", ERROR_NO_MORE_FILES},
      {"*t*a*", "c.txt.bak ", ERROR_NO_MORE_FILES},
      {"b.TXT", "B.txt ", ERROR_NO_MORE_FILES},
      {"d", "d ", ERROR_NO_MORE_FILES},
      {"d\\*", ". .. x ", ERROR_NO_MORE_FILES},
      {".\\d\\\\*", ". .. x ", ERROR_NO_MORE_FILES},
      {"d\\*.q", "", ERROR_FILE_NOT_FOUND},
      {"missing", "", ERROR_FILE_NOT_FOUND},
      {"d\\", "", ERROR_FILE_NOT_FOUND},
      {"missing\\*", "", ERROR_PATH_NOT_FOUND},
      {"missing\\missing\\*", "", ERROR_PATH_NOT_FOUND},
      {"a\\*", "", ERROR_INVALID_NAME},
      {"*\\x", "", ERROR_INVALID_NAME},
  };
  for (const auto& one : cases) {
    const Listed listed = List(Below(one.pattern));
    EXPECT_EQ(listed.Sorted(), one.names) << one.pattern;
    EXPECT_EQ(listed.code, one.code) << one.pattern;
  }
  EXPECT_EQ(List("").code, DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(List("Q:\\*").code, DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(DirectoryTest, RootHasNoDots) {
  for (const char* pattern : {"Z:\\*", "Z:\\.\\*", "\\*", "Z:\\.*"}) {
    for (const std::string& name : List(pattern).names) {
      EXPECT_TRUE(name != "." && name != "..") << pattern;
    }
  }
}

TEST_F(DirectoryTest, ManyEntriesOnceEach) {
  constexpr int kFiles = 500;  // more than the system tells at once
  std::set<std::string> expected = {".", "..", "a", "d"};
  for (int i = 0; i < kFiles; ++i) {
    const std::string name = std::string(100, 'n') + std::to_string(i);
    WriteWholeFile(Name(name), "");
    expected.insert(name);
  }
  const Listed listed = List(Below("*"));
  EXPECT_EQ(listed.names.size(), expected.size());
  EXPECT_EQ(std::set<std::string>(listed.names.begin(), listed.names.end()), expected);
  EXPECT_EQ(listed.code, DWORD{ERROR_NO_MORE_FILES});
  EXPECT_EQ(List(Below("*nn499")).Sorted(), std::string(100, 'n') + "499 ");
}

TEST_F(DirectoryTest, LongestName) {
  const std::string longest(255, 'n');
  std::filesystem::current_path(dir_.Path() + "/d");
  std::ofstream file(longest);
  if (!file.is_open()) {
    GTEST_SKIP() << "a file of such a name cannot be made here";
  }
  EXPECT_EQ(List("n*").Sorted(), longest + " ");
}

TEST_F(DirectoryTest, EntriesTellTheirKind) {
  WriteWholeFile(Name(".dot"), "");
  std::filesystem::create_directory(Name(".dots"));
  const std::pair<const char*, DWORD> cases[] = {
      {"a", FILE_ATTRIBUTE_ARCHIVE},
      {"d", FILE_ATTRIBUTE_DIRECTORY},
      {".dot", FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN},
      {".dots", FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN}};
  for (const auto& [name, attributes] : cases) {
    EXPECT_EQ(Attributes(Below(name)), attributes) << name;
  }
}

TEST_F(DirectoryTest, LinksShowAsWhatTheyLeadTo) {
  ShellLinks links(dir_.Path());
  if (!links.Make("a", "toFile") || !links.Make("d", "toDirectory") ||
      !links.Make("toDirectory", "far")) {
    GTEST_SKIP() << "links cannot be made here";
  }
  constexpr DWORD kDirectoryLink =
      FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  EXPECT_EQ(List(Below("*")).Sorted(), ". .. a d far toDirectory toFile ");
  EXPECT_EQ(Attributes(Below("toFile")), DWORD{FILE_ATTRIBUTE_ARCHIVE});
  EXPECT_EQ(Attributes(Below("toDirectory")), kDirectoryLink);
  EXPECT_EQ(Attributes(Below("far")), kDirectoryLink);
  EXPECT_EQ(List(Below("far\\*")).Sorted(), ". .. x ");
}

TEST_F(DirectoryTest, SearchesDoNotMeet) {
  WIN32_FIND_DATAA data;
  const HANDLE one = FindFirstFileA(Below("*").c_str(), &data);
  const HANDLE other = FindFirstFileA(Below("d\\*").c_str(), &data);
  EXPECT_NE(one, other);
  const auto entriesLeft = [&data](HANDLE search) {
    int count = 0;
    while (FindNextFileA(search, &data)) {
      ++count;
    }
    return count;
  };
  EXPECT_EQ(entriesLeft(other), 2);
  EXPECT_TRUE(FindClose(other));
  EXPECT_EQ(entriesLeft(one), 3);
  EXPECT_EQ(CodeOf([&] { return FindNextFileA(one, &data); }),
            DWORD{ERROR_NO_MORE_FILES});
  EXPECT_TRUE(FindClose(one));
}

TEST_F(DirectoryTest, ClosedSearchLetsGoOfTheDirectory) {
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA(Below("d\\*").c_str(), &data);
  EXPECT_TRUE(FindClose(search));
  EXPECT_EQ(std::filesystem::remove_all(Name("d")), 2u);
  EXPECT_EQ(List(Below("d\\*")).code, DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(DirectoryTest, EntriesThatGoMeanwhile) {
  constexpr int kFiles = 500;
  for (int i = 0; i < kFiles; ++i) {
    WriteWholeFile(Name(std::string(100, 'n') + std::to_string(i)), "");
  }
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA(Below("*").c_str(), &data);
  ASSERT_NE(search, INVALID_HANDLE_VALUE);
  for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
    std::filesystem::remove_all(entry.path());
  }
  int count = 1;
  SetLastError(kUntouched);
  while (FindNextFileA(search, &data)) {
    ++count;
  }
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
  EXPECT_LE(count, kFiles + 4);
  EXPECT_TRUE(FindClose(search));
}

TEST_F(DirectoryTest, InvalidSearches) {
  WIN32_FIND_DATAA data;
  for (const HANDLE handle : {INVALID_HANDLE_VALUE, HANDLE{}}) {
    EXPECT_EQ(CodeOf([&] { return FindNextFileA(handle, &data); }),
              DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(CodeOf([&] { return FindClose(handle); }), DWORD{ERROR_INVALID_HANDLE});
  }
}

TEST_F(DirectoryTest, ManySearchesAtOnce) {
  constexpr size_t kSearches = 300;
  WIN32_FIND_DATAA data;
  std::set<HANDLE> searches;
  for (size_t i = 0; i < kSearches; ++i) {
    searches.insert(FindFirstFileA(Below("*").c_str(), &data));
  }
  EXPECT_EQ(searches.size(), kSearches);
  EXPECT_EQ(searches.count(INVALID_HANDLE_VALUE), 0u);
  for (const HANDLE search : searches) {
    EXPECT_TRUE(FindNextFileA(search, &data));
    EXPECT_TRUE(FindClose(search));
  }
}

TEST_F(DirectoryTest, CurrentDirectory) {
  ASSERT_EQ(_chdir(Below("d").c_str()), 0);
  const std::string shown = dir_.ShownPath() + "\\d";
  char buffer[300];
  EXPECT_STREQ(_getcwd(buffer, sizeof buffer), shown.c_str());
  EXPECT_EQ(_getcwd(buffer, static_cast<int>(shown.size() + 1)), buffer);
  errno = 0;
  EXPECT_EQ(_getcwd(buffer, static_cast<int>(shown.size())), nullptr);
  EXPECT_EQ(errno, ERANGE);
  char* made = _getcwd(nullptr, 0);
  EXPECT_STREQ(made, shown.c_str());
  free(made);
  EXPECT_EQ(OpenCode("x"), 0u);
  EXPECT_EQ(OpenCode("Z:x"), 0u);
  EXPECT_EQ(OpenCode("..\\a"), 0u);
  EXPECT_EQ(_chdir(".."), 0);
  EXPECT_STREQ(_getcwd(buffer, sizeof buffer), dir_.ShownPath().c_str());
  EXPECT_EQ(_chdir("/"), 0);
  EXPECT_STREQ(_getcwd(buffer, sizeof buffer), "Z:\\");
}

TEST_F(DirectoryTest, CurrentDirectoryStaysAsItWasWritten) {
  const std::string shown = dir_.ShownPath();
  const std::string lowerDrive = "z" + shown.substr(1);
  const std::pair<std::string, std::string> cases[] = {
      {Below("D"), shown + "\\D"},
      {".", shown + "\\D"},
      {"..\\d", shown + "\\d"},
      {shown + "/\\D.", shown + "\\D"},
      {lowerDrive + "\\d", lowerDrive + "\\d"},
      {"..", lowerDrive},
      {shown.substr(2), lowerDrive},
      {"Z:D", lowerDrive + "\\D"},
  };
  for (const auto& [name, expected] : cases) {
    char buffer[300] = {};
    ASSERT_EQ(_chdir(name.c_str()), 0) << name;
    EXPECT_STREQ(_getcwd(buffer, sizeof buffer), expected.c_str()) << name;
  }
  EXPECT_EQ(OpenCode("x"), 0u);
  EXPECT_EQ(OpenCode("X"), 0u);
}

TEST_F(DirectoryTest, CurrentDirectoryThroughALink) {
  std::filesystem::create_directory(Name("d/inner"));
  ShellLinks links(dir_.Path());
  if (!links.Make("d/inner", "link")) {
    GTEST_SKIP() << "links cannot be made here";
  }
  char buffer[300] = {};
  ASSERT_EQ(_chdir(Below("link").c_str()), 0);
  EXPECT_STREQ(_getcwd(buffer, sizeof buffer), (dir_.ShownPath() + "\\link").c_str());
  EXPECT_EQ(OpenCode("..\\a"), 0u) << "\"..\" goes by the text";
  EXPECT_EQ(_chdir(".."), 0);
  EXPECT_STREQ(_getcwd(buffer, sizeof buffer), dir_.ShownPath().c_str());
}

TEST_CHILD(tellOfCurrentDirectory) {
  const auto tell = [] {
    char buffer[300] = {};
    ChildWriteLine(_getcwd(buffer, sizeof buffer) != nullptr ? buffer : "none");
  };
  if (_chdir(argv[1]) != 0) {
    return 1;
  }
  tell();
  ChildReadLine();
  tell();
  ChildWriteLine(std::to_string(OpenCode("f", GENERIC_WRITE, 0, CREATE_ALWAYS)) + " " +
                 std::to_string(OpenCode(".", GENERIC_READ, kShareAll, OPEN_EXISTING,
                                         FILE_FLAG_BACKUP_SEMANTICS)) +
                 " " + std::to_string(_access("..\\a", 0)));
  return GetDiskFreeSpaceExA(nullptr, nullptr, nullptr, nullptr) ? _chdir("..") : 2;
}

TEST_F(DirectoryTest, CurrentDirectoryThatWasRemoved) {
  std::filesystem::create_directory(Name("gone"));
  const std::string shown = dir_.ShownPath() + "\\gone";
  ChildProcess child = ChildProcess::Start("tellOfCurrentDirectory", {shown});
  ASSERT_EQ(child.ReadLine(), shown);
  if (!RunShell("rmdir " + ShellName(Name("gone")))) {
    GTEST_SKIP() << "current directories are not removed here";
  }
  child.WriteLine("go on");
  EXPECT_EQ(child.ReadLine(), shown);
  EXPECT_EQ(child.ReadLine(), "3 2 0");
  EXPECT_EQ(child.Wait(), 0);
}

TEST_F(DirectoryTest, NoCurrentDirectory) {
  const std::pair<std::string, int> cases[] = {
      {Below("missing"), ENOENT}, {Below("a"), EINVAL}, {"", EINVAL}, {"Q:\\", ENOENT}};
  for (const auto& [name, number] : cases) {
    errno = 0;
    EXPECT_EQ(_chdir(name.c_str()), -1) << name;
    EXPECT_EQ(errno, number) << name;
  }
}

TEST_F(DirectoryTest, DirectoryOfADrive) {
  ASSERT_EQ(_chdir(Below("d").c_str()), 0);
  const std::string shown = dir_.ShownPath() + "\\d";
  char buffer[300];
  EXPECT_STREQ(_getdcwd(0, buffer, sizeof buffer), shown.c_str());
  EXPECT_STREQ(_getdcwd(26, buffer, sizeof buffer), shown.c_str());
  for (const int drive : {17, 27, -1}) {
    errno = 0;
    EXPECT_EQ(_getdcwd(drive, buffer, sizeof buffer), nullptr);
    EXPECT_EQ(errno, EACCES);
  }
}

TEST_F(DirectoryTest, DiskSpace) {
  for (const std::string& name : {std::string("Z:\\"), dir_.Path(), Below(""),
                                  std::string("."), std::string("/")}) {
    ULARGE_INTEGER caller = {};
    ULARGE_INTEGER total = {};
    ULARGE_INTEGER all = {};
    EXPECT_TRUE(GetDiskFreeSpaceExA(name.c_str(), &caller, &total, &all)) << name;
    EXPECT_GT(caller.QuadPart, 0u);
    EXPECT_LE(caller.QuadPart, all.QuadPart);
    EXPECT_LT(all.QuadPart, total.QuadPart);
  }
  EXPECT_TRUE(GetDiskFreeSpaceExA(nullptr, nullptr, nullptr, nullptr));
  const std::pair<std::string, DWORD> failures[] = {
      {Below("a"), ERROR_DIRECTORY},
      {Below("missing"), ERROR_FILE_NOT_FOUND},
      {Below("missing\\m"), ERROR_PATH_NOT_FOUND},
      {"missing\\", ERROR_FILE_NOT_FOUND},
      {"Q:\\", ERROR_PATH_NOT_FOUND},
      {"", ERROR_PATH_NOT_FOUND}};
  for (const auto& [name, code] : failures) {
    EXPECT_EQ(CodeOf([&, path = name] {
                return GetDiskFreeSpaceExA(path.c_str(), nullptr, nullptr, nullptr);
              }),
              code)
        << name;
  }
}

TEST_F(DirectoryTest, UnusedNames) {
  std::string expected =
      Name("fa") + std::to_string(100000 + GetCurrentProcessId() % 100000).substr(1);
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    expected[expected.size() - 6] = letter;
    std::string name = Name("fXXXXXX");
    ASSERT_NE(_mktemp(name.data()), nullptr);
    EXPECT_EQ(name, expected);
    WriteWholeFile(name, "");
  }
  std::string name = Name("fXXXXXX");
  errno = 0;
  EXPECT_EQ(_mktemp(name.data()), nullptr);
  EXPECT_EQ(errno, 0) << "a null pointer is all that tells";
  expected[expected.size() - 6] = 'k';
  std::filesystem::remove(expected);
  std::filesystem::create_directory(expected);
  name = Name("fXXXXXX");
  EXPECT_EQ(_mktemp(name.data()), nullptr) << "a directory takes a name as well";
  std::filesystem::remove(expected);
  name = Name("fXXXXXX");
  EXPECT_NE(_mktemp(name.data()), nullptr);
  EXPECT_EQ(name, expected);
}

// A file under the name with an ending does not take the name.
TEST_F(DirectoryTest, UnusedNamesWithoutTheirEnding) {
  std::string first = Name("fXXXXXX");
  ASSERT_NE(_mktemp(first.data()), nullptr);
  WriteWholeFile(first + ".dat", "");
  std::string second = Name("fXXXXXX");
  ASSERT_NE(_mktemp(second.data()), nullptr);
  EXPECT_EQ(second, first);
}

TEST_F(DirectoryTest, BadTemplates) {
  for (const char* text : {"fXXX", "XXXXXXf", "abcdef", ""}) {
    std::string name = text;
    EXPECT_EQ(_mktemp(name.data()), nullptr) << text;
    EXPECT_EQ(name, text);
  }
}

TEST_F(DirectoryTest, Access) {
  const struct {
    const char* name;
    int mode;
    int number;
  } cases[] = {{"a", 0, 0},
               {"a", 4, 0},
               {"a", 2, 0},
               {"a", 6, 0},
               {"d", 0, 0},
               {"d", 2, 0},
               {"d\\", 0, 0},
               {"a\\", 0, ENOENT},
               {"missing", 0, ENOENT},
               {"missing\\m", 0, ENOENT},
               {"a*", 0, EINVAL}};
  for (const auto& one : cases) {
    errno = 0;
    EXPECT_EQ(_access(Below(one.name).c_str(), one.mode), one.number == 0 ? 0 : -1)
        << one.name;
    EXPECT_EQ(errno, one.number) << one.name;
  }
}

TEST_F(DirectoryTest, DirectoryWhereNobodyMayWrite) {
  if (!RunShell("chmod 555 " + ShellName(Name("d")))) {
    GTEST_SKIP() << "permissions are of another kind here";
  }
  struct _stat64i32 status = {};
  EXPECT_EQ(_stat64i32(Name("d").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, 0x416D);
  EXPECT_EQ(_access(Name("d").c_str(), 4), 0);
  errno = 0;
  EXPECT_EQ(_access(Name("d").c_str(), 2), -1);
  EXPECT_EQ(errno, EACCES);
}

TEST_F(DirectoryTest, Status) {
  for (const char* name : {"p.exe", "p.bat", "p.CMD", "p.com"}) {
    WriteWholeFile(Name(name), "123");
  }
  const struct {
    std::string name;
    int mode;  // 0: there is none
    int size;
  } cases[] = {{Below("a"), 0x81B6, 10},
               {Below("p.exe"), 0x81FF, 3},
               {Below("p.bat"), 0x81FF, 3},
               {Below("p.CMD"), 0x81FF, 3},
               {Below("p.com"), 0x81FF, 3},
               {Below("d"), 0x41FF, 0},
               {Below("d\\"), 0, 0},
               {Below("a\\"), 0, 0},
               {Below("d/"), 0, 0},
               {"xy", 0, 0},
               {"Z:\\", 0x41FF, 0},
               {".", 0x41FF, 0},
               {Below("missing"), 0, 0},
               {Below("missing\\m"), 0, 0},
               {Below("a*"), 0, 0},
               {"", 0, 0},
               {"Z:", 0, 0},
               {"Q:\\", 0, 0}};
  for (const auto& one : cases) {
    struct _stat64i32 status = {};
    errno = 0;
    EXPECT_EQ(_stat64i32(one.name.c_str(), &status), one.mode != 0 ? 0 : -1) << one.name;
    EXPECT_EQ(errno, one.mode != 0 ? 0 : ENOENT) << one.name;
    EXPECT_EQ(status.st_mode, one.mode) << one.name;
    EXPECT_EQ(status.st_size, one.size) << one.name;
  }
}
