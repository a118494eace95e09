// Dots, blanks and separators at the ends of names and of their components.

#include <direct.h>
#include <io.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <string>

#include "common/temp/CurrentDirectory.h"
#include "platform/PlatformTest.h"

namespace {

// What each call answers to a name. A code or an error number of 0 is success.
struct Answers {
  const char* name;  // in a directory with a file "a" and a directory "d" with a file "x"
  DWORD open;
  int mode;  // of _stat64i32; 0 when it fails
  int access;
  int chdir;
  DWORD space;
  DWORD creation;  // of a file that may not exist
  DWORD listing;   // of the name and "\*"
};

constexpr Answers kAnswers[] = {
    {"a", 0, 0x81B6, 0, EINVAL, 267, 80, 123},
    {"a.", 0, 0x81B6, 0, EINVAL, 267, 80, 123},
    {"a ", 0, 0x81B6, 0, EINVAL, 267, 80, 3},
    {"a...", 0, 0x81B6, 0, EINVAL, 267, 80, 3},
    {"a. .", 0, 0x81B6, 0, EINVAL, 267, 80, 3},
    {"a\\", 123, 0, ENOENT, EINVAL, 123, 80, 123},
    {"a.\\", 123, 0, ENOENT, EINVAL, 123, 80, 123},
    {"a\\ ", 123, 0, ENOENT, EINVAL, 123, 80, 3},
    {"a\\.", 0, 0x81B6, 0, EINVAL, 267, 80, 123},
    {"a\\...", 123, 0, ENOENT, EINVAL, 123, 80, 123},
    {"a\\. ", 123, 0, ENOENT, EINVAL, 123, 80, 3},
    {"a \\", 2, 0, ENOENT, ENOENT, 2, 123, 3},
    {"a..\\", 2, 0, ENOENT, ENOENT, 2, 123, 3},
    {"a \\.", 0, 0x81B6, 0, EINVAL, 267, 80, 3},
    {"a..\\.", 0, 0x81B6, 0, EINVAL, 267, 80, 3},
    {"a \\\\.", 0, 0x81B6, 0, EINVAL, 267, 80, 3},
    {"a. \\.", 0, 0x81B6, 0, EINVAL, 267, 80, 3},
    {"a:", 2, 0, ENOENT, ENOENT, 2, 0, 3},
    {"d", 0, 0x41FF, 0, 0, 0, 80, 0},
    {"d.", 0, 0x41FF, 0, 0, 0, 80, 0},
    {"d ", 0, 0x41FF, 0, 0, 0, 80, 3},
    {"d...", 0, 0x41FF, 0, 0, 0, 80, 3},
    {"d\\", 0, 0, 0, 0, 0, 80, 0},
    {"d\\ ", 0, 0, 0, 0, 0, 80, 3},
    {"d\\  ", 0, 0, 0, 0, 0, 80, 3},
    {"d\\. ", 0, 0x41FF, 0, 0, 0, 80, 3},
    {"d\\...", 0, 0x41FF, 0, 0, 0, 80, 123},
    {"d.\\", 0, 0, 0, 0, 0, 80, 0},
    {"d..\\", 2, 0, ENOENT, ENOENT, 2, 123, 3},
    {"d \\", 2, 0, ENOENT, ENOENT, 2, 123, 3},
    {"d \\.", 0, 0x41FF, 0, 0, 0, 80, 3},
    {"d..\\.", 0, 0x41FF, 0, 0, 0, 80, 3},
    {"d.\\x", 0, 0x81B6, 0, EINVAL, 267, 80, 123},
    {"d..\\x", 3, 0, ENOENT, ENOENT, 3, 3, 3},
    {"d \\x", 3, 0, ENOENT, ENOENT, 3, 3, 3},
    {"d\\.\\x", 0, 0x81B6, 0, EINVAL, 267, 80, 123},
    {"d\\ \\x", 3, 0, ENOENT, ENOENT, 3, 3, 3},
    {"d\\x ", 0, 0x81B6, 0, EINVAL, 267, 80, 3},
    {"d\\x\\", 123, 0, ENOENT, EINVAL, 123, 80, 123},
    {"d\\x\\...", 123, 0, ENOENT, EINVAL, 123, 80, 123},
    {"d\\.x", 2, 0, ENOENT, ENOENT, 2, 0, 3},
    {"no ", 2, 0, ENOENT, ENOENT, 2, 0, 3},
    {"no\\", 2, 0, ENOENT, ENOENT, 2, 123, 3},
    {"no\\ ", 2, 0, ENOENT, ENOENT, 2, 123, 3},
    {"no\\.", 2, 0, ENOENT, ENOENT, 2, 0, 3},
    {"no \\", 2, 0, ENOENT, ENOENT, 2, 123, 3},
    {"no \\.", 2, 0, ENOENT, ENOENT, 2, 0, 3},
    {"no\\a", 3, 0, ENOENT, ENOENT, 3, 3, 3},
    // One dot falls away before a separator, and two are no name.
    {"d\\...\\x", 123, 0, EINVAL, EINVAL, 123, 123, 123},
    {"no\\...\\x", 123, 0, EINVAL, EINVAL, 123, 123, 123},
    {"d\\....\\x", 3, 0, ENOENT, ENOENT, 3, 3, 3},
    {" ", 0, 0, 0, 0, 0, 80, 3},
    {" a", 2, 0, ENOENT, ENOENT, 2, 0, 3},
    {".. ", 0, 0x41FF, 0, 0, 0, 80, 3},
    {"...", 0, 0x41FF, 0, 0, 0, 80, 123},
};

template <typename Call>
int NumberOf(Call call) {
  errno = 0;
  return call() == 0 ? 0 : errno;
}

DWORD ListingCode(const std::string& pattern) {
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA(pattern.c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) {
    return GetLastError();
  }
  FindClose(search);
  return 0;
}

class NameEndingsTest : public PlatformTest {
 protected:
  // The name of the first entry that a search finds, or "".
  std::string Found(const std::string& pattern) const {
    WIN32_FIND_DATAA data;
    const HANDLE search = FindFirstFileA((dir_.Path() + "\\" + pattern).c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) {
      return "";
    }
    FindClose(search);
    return data.cFileName;
  }

  CurrentDirectory current_{dir_.Path()};  // which calls change, and this gives back
};

}  // namespace

TEST_F(NameEndingsTest, EveryCall) {
  for (const Answers& one : kAnswers) {
    SCOPED_TRACE(one.name);
    const std::string path = dir_.Path() + "\\" + one.name;
    EXPECT_EQ(OpenCode(path, GENERIC_READ, kShareAll, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS),
              one.open);
    struct _stat64i32 status = {};
    EXPECT_EQ(_stat64i32(path.c_str(), &status), one.mode != 0 ? 0 : -1);
    EXPECT_EQ(status.st_mode, one.mode);
    EXPECT_EQ(NumberOf([&] { return _access(path.c_str(), 0); }), one.access);
    EXPECT_EQ(NumberOf([&] { return _chdir(path.c_str()); }), one.chdir);
    const bool hasSpace = GetDiskFreeSpaceExA(path.c_str(), nullptr, nullptr, nullptr);
    EXPECT_EQ(hasSpace ? 0 : GetLastError(), one.space);
    EXPECT_EQ(OpenCode(path, GENERIC_WRITE, kShareAll, CREATE_NEW,
                       FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE),
              one.creation);
    EXPECT_EQ(ListingCode(path + "\\*"), one.listing);
  }
}

TEST_F(NameEndingsTest, NamesThatAreSearched) {
  const std::pair<const char*, const char*> cases[] = {
      {"a ", "a"},       {"a...", "a"},  {"a\\.", "a"},  {"a \\.", "a"}, {"a..\\.", "a"},
      {"d\\x\\..", "d"}, {"d\\.", "d"},  {"d \\.", "d"}, {"d\\x.", "x"}, {"d\\", ""},
      {"d\\ ", ""},      {"d\\...", ""}, {"no ", ""},    {"a\\", ""},    {"D.", "d"}};
  for (const auto& [pattern, name] : cases) {
    EXPECT_EQ(Found(pattern), name) << pattern;
  }
}
