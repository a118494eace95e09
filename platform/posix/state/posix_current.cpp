// The current directory.
//
// Not emulated: the current directories of other drives. A directory that others rename
// has its new name.

#include "platform/posix/state/posix_current.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <mutex>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_path.h"

namespace posix {
namespace {

struct Directory {
  dev_t device = 0;
  ino_t inode = 0;
  std::string path;
  std::string written;
  char drive = 'Z';
};

std::mutex mutex;

// The current directory when last looked at. Never destroyed: names are read until the
// very end.
Directory& Latest() {
  static Directory& latest = *new Directory;
  return latest;
}

bool IsSame(const Directory& directory, const struct stat& status) {
  return directory.device == status.st_dev && directory.inode == status.st_ino;
}

std::string SystemsName() {
  const std::unique_ptr<char, void (*)(void*)> name(getcwd(nullptr, 0), free);
  return name ? name.get() : "";
}

// Null when it cannot be determined. REQUIRES: `mutex` is held.
const Directory* Present() {
  Directory& latest = Latest();
  struct stat here;
  struct stat there;
  if (fstatat(AT_FDCWD, "", &here, AT_EMPTY_PATH) != 0) {
    return nullptr;
  }
  const bool isLatest = IsSame(latest, here);
  if (isLatest && stat(latest.path.c_str(), &there) == 0 && IsSame(latest, there)) {
    return &latest;
  }
  const std::string name = SystemsName();
  if (!name.empty()) {
    latest = {here.st_dev, here.st_ino, name, name};
  }
  return isLatest || !name.empty() ? &latest : nullptr;
}

}  // namespace

std::string CurrentDirectory() {
  const std::lock_guard guard(mutex);
  const Directory* present = Present();
  return present == nullptr ? "" : present->written;
}

std::string ShownCurrentDirectory() {
  const std::lock_guard guard(mutex);
  const Directory* present = Present();
  if (present == nullptr) {
    return "";
  }
  std::string shown = Shown(present->written);
  shown[0] = present->drive;
  return shown;
}

DWORD ChangeDirectory(const std::string& path, const std::string& written, char drive) {
  const std::lock_guard guard(mutex);
  if (drive == '\0') {
    const Directory* before = Present();
    drive = before == nullptr ? 'Z' : before->drive;
  }
  struct stat status;
  if (chdir(path.c_str()) != 0 || fstatat(AT_FDCWD, "", &status, AT_EMPTY_PATH) != 0) {
    return CodeFromErrno(errno);
  }
  Latest() = {status.st_dev, status.st_ino, path, written, drive};
  return ERROR_SUCCESS;
}

}  // namespace posix
