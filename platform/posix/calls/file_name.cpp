// Deleting and renaming files.
//
// Not emulated: moving directories, moves to another file system or at the next start of
// the system. A file that is deleted, or replaced by a move, while others have it open
// loses its name at once, not at the last close, and the share modes of those others do
// not keep a move from replacing it. Where the new name is a link, the file that it
// points to is replaced.

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <new>

#include "platform/posix/state/posix_directory.h"
#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"
#include "platform/posix/state/posix_path.h"
#include "platform/posix/state/posix_status.h"

namespace posix {
namespace {

// The error code that keeps a file from losing its name; 0 if none does.
DWORD CheckNameLoss(const Path& name, struct stat& status) {
  if (lstat(name.path.c_str(), &status) != 0) {
    return CodeOfFailure(name.path);
  }
  if (S_ISDIR(status.st_mode)) {
    return ERROR_ACCESS_DENIED;
  }
  if (name.separatorAtEnd) {
    return ERROR_INVALID_NAME;
  }
  const NewDescriptor fd(S_ISREG(status.st_mode) ? Retried([&] {
    return open(name.path.c_str(), O_RDONLY | O_CLOEXEC);
  })
                                                 : -1);
  const bool denied = DeletionIsDenied(fd.Get(), status.st_dev, status.st_ino);
  return denied ? ERROR_SHARING_VIOLATION : ERROR_SUCCESS;
}

DWORD Delete(const char* name) {
  Path resolved;
  struct stat status;
  DWORD code = Resolve(name, resolved);
  if (code == ERROR_SUCCESS) {
    code = CheckNameLoss(resolved, status);
  }
  if (code != ERROR_SUCCESS) {
    return code;
  }
  if ((AttributesOf(status) & FILE_ATTRIBUTE_READONLY) != 0) {
    return ERROR_ACCESS_DENIED;
  }
  return unlink(resolved.path.c_str()) == 0 ? ERROR_SUCCESS : CodeFromErrno(errno);
}

// The error code that keeps a file from being given this name; 0 if none does. A link is
// followed.
DWORD CheckNewName(Path& name, bool mayReplace) {
  struct stat status;
  if (stat(name.path.c_str(), &status) != 0) {
    return name.separatorAtEnd ? ERROR_INVALID_NAME : ERROR_SUCCESS;
  }
  if (S_ISDIR(status.st_mode)) {
    return ERROR_ACCESS_DENIED;
  }
  if (!mayReplace) {
    return ERROR_ALREADY_EXISTS;
  }
  const std::unique_ptr<char, void (*)(void*)> real(realpath(name.path.c_str(), nullptr),
                                                    free);
  if (!real) {
    return CodeFromErrno(errno);
  }
  name.path = real.get();
  return ERROR_SUCCESS;
}

// Renames a file; with `isThrough` the renaming is then on the disk. The directory is
// opened first, so that after the renaming only the disk can fail.
DWORD Rename(const std::string& from, const std::string& to, bool isThrough) {
  const NewDescriptor directory(isThrough ? OpenDirectory(ParentOf(to)) : -1);
  if ((isThrough && directory.Get() < 0) || rename(from.c_str(), to.c_str()) != 0) {
    return CodeOfFailure(to);
  }
  return isThrough && !FlushDirectory(directory.Get()) ? CodeFromErrno(errno)
                                                       : ERROR_SUCCESS;
}

}  // namespace
}  // namespace posix

using namespace posix;

BOOL DeleteFileA(LPCSTR name) try {
  const DWORD code = Delete(name);
  return code == ERROR_SUCCESS ? TRUE : Fail(code);
} catch (const std::bad_alloc&) {
  return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

BOOL MoveFileExA(LPCSTR from, LPCSTR to, DWORD flags) {
  Path source;
  Path target;
  struct stat status;
  DWORD code = Resolve(from, source);
  if (code == ERROR_SUCCESS) {
    code = CheckNameLoss(source, status);
  }
  if (code == ERROR_SUCCESS) {
    code = Resolve(to, target);
  }
  if (code == ERROR_SUCCESS) {
    code = CheckNewName(target, (flags & MOVEFILE_REPLACE_EXISTING) != 0);
  }
  if (code == ERROR_SUCCESS) {
    code = Rename(source.path, target.path, (flags & MOVEFILE_WRITE_THROUGH) != 0);
  }
  return code == ERROR_SUCCESS ? TRUE : Fail(code);
}
