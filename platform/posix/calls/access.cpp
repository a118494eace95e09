// The status of named files, for the C run time's calls.
//
// Not emulated: execute bits from a file's content, device and user numbers, times,
// and sizes beyond 2 GiB (they keep their low 32 bits).

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <string_view>

#include <io.h>
#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_path.h"
#include "platform/posix/state/posix_status.h"

namespace posix {
namespace {

constexpr int kMayWrite = 2;

// The error code when the status of a name cannot be read, 0 when it can.
DWORD StatusOf(const char* name, Path& resolved, struct stat& status) {
  const DWORD code = Resolve(name, resolved);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  if (stat(resolved.path.c_str(), &status) != 0) {
    return CodeOfFailure(resolved.path);
  }
  const bool isFile = !S_ISDIR(status.st_mode);
  return isFile && resolved.separatorAtEnd ? ERROR_PATH_NOT_FOUND : ERROR_SUCCESS;
}

bool IsReadOnly(const struct stat& status) {
  return (AttributesOf(status) & FILE_ATTRIBUTE_READONLY) != 0;
}

// The run time takes neither a drive without a directory nor "dir\" for a name. It looks
// at the name as written, except for blanks at its end.
bool IsNameOfStatus(std::string_view name) {
  name = name.substr(0, name.find_last_not_of(' ') + 1);
  if (name.size() < 2) {
    return true;
  }
  const char last = name.back();
  const bool isDrive = name.size() == 2 && last == ':';
  const bool endsInSeparator = last == '\\' || last == '/';
  return !isDrive && (!endsInSeparator || name[name.size() - 2] == ':');
}

bool IsProgram(std::string_view path) {
  constexpr size_t kEnding = 4;
  std::string ending(path.substr(path.size() - std::min(path.size(), kEnding)));
  for (char& c : ending) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return ending == ".exe" || ending == ".bat" || ending == ".cmd" || ending == ".com";
}

unsigned short ModeOf(const std::string& path, const struct stat& status) {
  const bool isDirectory = S_ISDIR(status.st_mode);
  const int mode = (isDirectory ? _S_IFDIR : _S_IFREG) |
                   (IsReadOnly(status) ? 0444 : 0666) |
                   (isDirectory || IsProgram(path) ? 0111 : 0);
  return static_cast<unsigned short>(mode);
}

}  // namespace
}  // namespace posix

using namespace posix;

// Only existence and the read-only attribute count, not whether this process may.
int _access(const char* path, int mode) {
  Path resolved;
  struct stat status;
  const DWORD code = StatusOf(path, resolved, status);
  if (code != ERROR_SUCCESS) {
    SetLastError(code);
    return FailRunTime(ErrnoFromCode(code));
  }
  const bool isRefused = (mode & kMayWrite) != 0 && IsReadOnly(status);
  return isRefused ? FailRunTime(EACCES) : 0;
}

int _stat64i32(const char* path, struct _stat64i32* result) {
  Path resolved;
  struct stat status;
  if (!IsNameOfStatus(path == nullptr ? "" : path) ||
      StatusOf(path, resolved, status) != ERROR_SUCCESS) {
    return FailRunTime(ENOENT);
  }
  const bool isDirectory = S_ISDIR(status.st_mode);
  *result = {};
  result->st_dev = 'Z' - 'A';
  result->st_mode = ModeOf(resolved.path, status);
  result->st_nlink = 1;
  result->st_size = isDirectory ? 0 : static_cast<int>(status.st_size);
  return 0;
}
