// Listing directories, the current one, the space of disks, unused names.

#include <direct.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "common/CurrentDirectory.h"
#include "platform/PlatformTest.h"

namespace {

struct Listed {
  std::string names;  // each followed by a blank
  DWORD code;         // with which the listing ended or did not begin
};

Listed List(const std::string& pattern) {
  WIN32_FIND_DATAA data;
  SetLastError(kUntouched);
  const HANDLE search = FindFirstFileA(pattern.c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) return {"", GetLastError()};
  Listed listed;
  do {
    listed.names += std::string(data.cFileName) + " ";
    SetLastError(kUntouched);
  } while (FindNextFileA(search, &data));
  listed.code = GetLastError();
  EXPECT_TRUE(FindClose(search));
  return listed;
}

WIN32_FIND_DATAA Found(const std::string& path) {
  WIN32_FIND_DATAA data = {};
  const HANDLE search = FindFirstFileA(path.c_str(), &data);
  EXPECT_NE(search, INVALID_HANDLE_VALUE);
  FindClose(search);
  return data;
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
      {"*", ". .. a B.txt c.TXT c.txt.bak d _x ", ERROR_NO_MORE_FILES},
      {"*.*", ". .. a B.txt c.TXT c.txt.bak d _x ", ERROR_NO_MORE_FILES},
      {"*.txt", "B.txt c.TXT ", ERROR_NO_MORE_FILES},
      {"?.txt", "B.txt c.TXT ", ERROR_NO_MORE_FILES},
      {"*t*a*", "c.txt.bak ", ERROR_NO_MORE_FILES},
      {"b.TXT", "B.txt ", ERROR_NO_MORE_FILES},
      {"d", "d ", ERROR_NO_MORE_FILES},
      {"d\\*", ". .. x ", ERROR_NO_MORE_FILES},
      {"d\\*.q", "", ERROR_FILE_NOT_FOUND},
      {"missing", "", ERROR_FILE_NOT_FOUND},
      {"d\\", "", ERROR_FILE_NOT_FOUND},
      {"missing\\*", "", ERROR_PATH_NOT_FOUND},
      {"a\\*", "", ERROR_INVALID_NAME},
      {"*\\x", "", ERROR_INVALID_NAME},
  };
  for (const auto& one : cases) {
    const Listed listed = List(Below(one.pattern));
    EXPECT_EQ(listed.names, one.names) << one.pattern;
    EXPECT_EQ(listed.code, one.code) << one.pattern;
  }
  EXPECT_EQ(List("").code, DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(List("Q:\\*").code, DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(List("Z:\\*").names.find(". "), std::string::npos);
}

TEST_F(DirectoryTest, EntriesTellTheirStatus) {
  WriteWholeFile(Name(".dot"), "");
  EXPECT_EQ(Found(Below("a")).dwFileAttributes, DWORD{FILE_ATTRIBUTE_ARCHIVE});
  EXPECT_EQ(Found(Below("a")).nFileSizeLow, 10u);
  EXPECT_EQ(Found(Below("d")).dwFileAttributes, DWORD{FILE_ATTRIBUTE_DIRECTORY});
  EXPECT_EQ(Found(Below("d")).nFileSizeLow, 0u);
  EXPECT_EQ(Found(Below(".dot")).dwFileAttributes,
            DWORD{FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN});
}

TEST_F(DirectoryTest, SearchesDoNotMeet) {
  WIN32_FIND_DATAA data;
  const HANDLE one = FindFirstFileA(Below("*").c_str(), &data);
  const HANDLE other = FindFirstFileA(Below("d\\*").c_str(), &data);
  EXPECT_NE(one, other);
  EXPECT_TRUE(FindNextFileA(other, &data));
  EXPECT_TRUE(FindNextFileA(other, &data));
  EXPECT_STREQ(data.cFileName, "x");
  EXPECT_TRUE(FindClose(other));
  EXPECT_TRUE(FindNextFileA(one, &data));
  EXPECT_STREQ(data.cFileName, "..");
  EXPECT_TRUE(FindClose(one));
}

TEST_F(DirectoryTest, InvalidSearches) {
  WIN32_FIND_DATAA data;
  for (const HANDLE handle : {INVALID_HANDLE_VALUE, HANDLE{}}) {
    EXPECT_EQ(CodeOf([&] { return FindNextFileA(handle, &data); }),
              DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(CodeOf([&] { return FindClose(handle); }), DWORD{ERROR_INVALID_HANDLE});
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

TEST_F(DirectoryTest, Status) {
  WriteWholeFile(Name("p.exe"), "123");
  const struct {
    std::string name;
    int mode;  // 0: there is none
    int size;
  } cases[] = {{Below("a"), 0x81B6, 10},
               {Below("p.exe"), 0x81FF, 3},
               {Below("d"), 0x41FF, 0},
               {Below("d\\"), 0, 0},
               {Below("a\\"), 0, 0},
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
