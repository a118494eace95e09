// The current directory, the space of disks and unused names.
//
// Not emulated: current directories of drives other than Z: (asking for one fails),
// quotas of users.

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <direct.h>
#include <io.h>
#include "platform/posix/state/posix_current.h"
#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_path.h"

namespace posix {
namespace {

constexpr int kDriveZ = 26;

char* FailWith(int number) {
  errno = number;
  return nullptr;
}

// The error code for a name that is not a directory, 0 for one that is.
DWORD CheckDirectory(const Path& name) {
  struct stat status;
  if (stat(name.path.c_str(), &status) != 0) {
    return CodeOfFailure(name.path);
  }
  if (S_ISDIR(status.st_mode)) {
    return ERROR_SUCCESS;
  }
  return name.separatorAtEnd ? ERROR_INVALID_NAME : ERROR_DIRECTORY;
}

bool IsBlank(std::string_view name) {
  return name.find_first_not_of(' ') == std::string_view::npos;
}

}  // namespace
}  // namespace posix

using namespace posix;

char* _getcwd(char* buffer, int size) {
  const std::string shown = ShownCurrentDirectory();
  if (shown.empty()) {
    return nullptr;
  }
  const auto room = static_cast<size_t>(size < 0 ? 0 : size);
  if (buffer == nullptr) {
    buffer = static_cast<char*>(std::malloc(std::max(room, shown.size() + 1)));
    if (buffer == nullptr) {
      return FailWith(ENOMEM);
    }
  } else if (room <= shown.size()) {
    return FailWith(ERANGE);
  }
  std::memcpy(buffer, shown.c_str(), shown.size() + 1);
  return buffer;
}

char* _getdcwd(int drive, char* buffer, int size) {
  return drive == 0 || drive == kDriveZ ? _getcwd(buffer, size) : FailWith(EACCES);
}

int _chdir(const char* path) {
  const std::string name = path == nullptr ? "" : path;
  Path written;
  DWORD code = IsBlank(name) ? ERROR_INVALID_NAME : Read(path, NameKind::kPlain, written);
  if (code == ERROR_SUCCESS) {
    const Path found = {Spelled(written.path), written.separatorAtEnd};
    const bool tellsDrive = HasDrive(name) && (name[2] == '\\' || name[2] == '/');
    const char drive = tellsDrive ? name[0] : '\0';
    code = CheckDirectory(found);
    if (code == ERROR_SUCCESS) {
      code = ChangeDirectory(found.path, written.path, drive);
    }
  }
  if (code == ERROR_SUCCESS) {
    return 0;
  }
  SetLastError(code);
  return FailRunTime(ErrnoFromCode(code));
}

BOOL GetDiskFreeSpaceExA(LPCSTR directory, ULARGE_INTEGER* freeToCaller,
                         ULARGE_INTEGER* total, ULARGE_INTEGER* totalFree) {
  Path resolved;
  DWORD code = Resolve(directory == nullptr ? "\\" : directory, resolved);
  if (code == ERROR_SUCCESS) {
    code = CheckDirectory(resolved);
  }
  if (code != ERROR_SUCCESS) {
    return Fail(code);
  }
  struct statvfs space;
  if (statvfs(resolved.path.c_str(), &space) != 0) {
    return FailWithErrno();
  }
  if (freeToCaller != nullptr) {
    freeToCaller->QuadPart = space.f_bavail * space.f_frsize;
  }
  if (total != nullptr) {
    total->QuadPart = space.f_blocks * space.f_frsize;
  }
  if (totalFree != nullptr) {
    totalFree->QuadPart = space.f_bfree * space.f_frsize;
  }
  return TRUE;
}

// One letter and the last five digits of the process's number take the X's places,
// so that there are 26 names.
char* _mktemp(char* nameTemplate) {
  constexpr std::string_view kPlaces = "XXXXXX";
  const std::string_view whole = nameTemplate;
  if (!whole.ends_with(kPlaces)) {
    return nullptr;
  }
  char* places = nameTemplate + whole.size() - kPlaces.size();
  unsigned number = static_cast<unsigned>(getpid());
  for (size_t i = kPlaces.size() - 1; i > 0; --i, number /= 10) {
    places[i] = static_cast<char>('0' + number % 10);
  }
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    *places = letter;
    Path resolved;
    if (Resolve(nameTemplate, resolved) != ERROR_SUCCESS || !Exists(resolved.path)) {
      return nameTemplate;
    }
  }
  return nullptr;
}
