// Opening and closing files.
//
// Not emulated: access rights other than GENERIC_READ and GENERIC_WRITE; flags and
// attributes other than READONLY (at creation), BACKUP_SEMANTICS and
// DELETE_ON_CLOSE (a killed process leaves the file); security descriptors but for a
// mode_t, the permissions of a file that is made; overlapped files; share modes of
// directories between processes. Access 0 needs permission to read.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"
#include "platform/posix/state/posix_path.h"

namespace posix {
namespace {

constexpr mode_t kNewFile = 0666;
constexpr mode_t kMayWrite = 0222;

// How often to look for a file that appears and disappears before giving up.
constexpr int kTries = 8;

// The arguments of a CreateFileA, interpreted.
struct Request {
  Path name;
  unsigned access;
  unsigned share;
  DWORD disposition;
  DWORD flags;
  mode_t permissions;  // of a new file
  bool inherit;

  bool MayCreate() const {
    return disposition != OPEN_EXISTING && disposition != TRUNCATE_EXISTING;
  }
  bool Truncates() const {
    return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
  }
};

unsigned Rights(DWORD access, DWORD flags) {
  return ((access & GENERIC_READ) != 0 ? kRead : 0) |
         ((access & GENERIC_WRITE) != 0 ? kWrite : 0) |
         ((flags & FILE_FLAG_DELETE_ON_CLOSE) != 0 ? kDelete : 0);
}

mode_t Permissions(const SECURITY_ATTRIBUTES* security, DWORD flags) {
  const bool told = security != nullptr && security->lpSecurityDescriptor != nullptr;
  const mode_t permissions =
      told ? *static_cast<const mode_t*>(security->lpSecurityDescriptor) : kNewFile;
  return (flags & FILE_ATTRIBUTE_READONLY) != 0 ? permissions & ~kMayWrite : permissions;
}

int OpenRetried(const char* path, int flags, mode_t mode) {
  return Retried([&] { return open(path, flags | O_NOCTTY, mode); });
}

// A writer opens for reading too where that is allowed: the locks of share modes need it.
// To the system truncating is writing, whatever was asked for.
int OpenExisting(const Request& request) {
  const char* path = request.name.path.c_str();
  const int inherit = request.inherit ? 0 : O_CLOEXEC;
  const bool writes = (request.access & kWrite) != 0 || request.Truncates();
  if (!writes) {
    return OpenRetried(path, O_RDONLY | inherit, 0);
  }
  const int fd = OpenRetried(path, O_RDWR | inherit, 0);
  const bool mayOnlyWrite = fd < 0 && errno == EACCES && (request.access & kRead) == 0;
  return mayOnlyWrite ? OpenRetried(path, O_WRONLY | inherit, 0) : fd;
}

int OpenNew(const Request& request, int exclusive) {
  return OpenRetried(request.name.path.c_str(),
                     O_RDWR | O_CREAT | exclusive | (request.inherit ? 0 : O_CLOEXEC),
                     request.permissions);
}

// The descriptor, or -1 with errno; `existed` tells whether the file was there.
int OpenOrCreate(const Request& request, bool& existed) {
  int fd = -1;
  for (int tries = 0; tries < kTries; ++tries) {
    existed = request.disposition != CREATE_NEW;
    if (existed) {
      fd = OpenExisting(request);
    }
    const bool missing = fd < 0 && (!existed || errno == ENOENT);
    if (!missing || !request.MayCreate()) {
      return fd;
    }
    existed = false;
    fd = OpenNew(request, O_EXCL);
    if (fd >= 0 || errno != EEXIST || request.disposition == CREATE_NEW) {
      return fd;
    }
  }
  // A link that points to nothing: the file is made where it points.
  existed = true;
  return OpenNew(request, 0);
}

DWORD DirectoryCode(const Request& request) {
  if (request.disposition == CREATE_NEW) {
    return ERROR_FILE_EXISTS;
  }
  if ((request.flags & FILE_FLAG_BACKUP_SEMANTICS) == 0) {
    return ERROR_ACCESS_DENIED;
  }
  return request.disposition == CREATE_ALWAYS ? ERROR_FILE_EXISTS : ERROR_SUCCESS;
}

// What a name refers to. Anything but a directory or a regular file is special: opening
// it can wait for another process, or start a device.
enum class Kind { kNothing, kDirectory, kRegular, kSpecial };

Kind KindOf(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    return Kind::kNothing;
  }
  if (S_ISDIR(status.st_mode)) {
    return Kind::kDirectory;
  }
  return S_ISREG(status.st_mode) ? Kind::kRegular : Kind::kSpecial;
}

// The code for a name that refers to nothing: one that ends in a separator cannot be
// created.
DWORD MissingNameCode(const Request& request, DWORD code) {
  const bool isToBeMade = code == ERROR_FILE_NOT_FOUND && request.MayCreate();
  return isToBeMade && request.name.separatorAtEnd ? ERROR_INVALID_NAME : code;
}

// What is wrong with the name before anything is opened.
DWORD CheckName(const Request& request, Kind kind) {
  if (kind == Kind::kDirectory) {
    return DirectoryCode(request);
  }
  if (!request.name.separatorAtEnd) {
    return ERROR_SUCCESS;
  }
  if (kind != Kind::kNothing) {
    return request.disposition == CREATE_NEW ? ERROR_FILE_EXISTS : ERROR_INVALID_NAME;
  }
  return MissingNameCode(request, MissingCode(request.name.path));
}

// Enters the open file and, only then, empties it if asked for.
DWORD Complete(int fd, const Request& request, bool existed) {
  struct stat status;
  if (fstat(fd, &status) != 0) {
    return CodeFromErrno(errno);
  }
  OpenFile file;
  file.access = request.access;
  file.share = request.share;
  file.identity = {status.st_dev, status.st_ino, 0};
  file.isRegular = S_ISREG(status.st_mode);
  if ((request.flags & FILE_FLAG_DELETE_ON_CLOSE) != 0) {
    file.removeAtEnd = request.name.path;
  }
  if (!EnterFile(fd, file)) {
    return ERROR_SHARING_VIOLATION;
  }
  const bool empties = existed && request.Truncates() && file.isRegular;
  const bool failed = empties && Retried([fd] { return ftruncate(fd, 0); }) != 0;
  return failed ? CodeFromErrno(errno) : ERROR_SUCCESS;
}

// As OpenOrCreate. Backup semantics ask only for the status of something without data: a
// special file is not opened for that.
int OpenByKind(const Request& request, Kind kind, bool& existed) {
  const char* path = request.name.path.c_str();
  const int inherit = request.inherit ? 0 : O_CLOEXEC;
  if (kind == Kind::kDirectory) {
    return OpenRetried(path, O_RDONLY | O_DIRECTORY | inherit, 0);
  }
  const bool forStatus = (request.flags & FILE_FLAG_BACKUP_SEMANTICS) != 0;
  if (kind == Kind::kSpecial && forStatus && request.disposition != CREATE_NEW) {
    return OpenRetried(path, O_PATH | inherit, 0);
  }
  return OpenOrCreate(request, existed);
}

// The same for a file that was just made: it is deleted should memory run out.
DWORD CompleteMade(int fd, const Request& request) {
  try {
    return Complete(fd, request, false);
  } catch (const std::bad_alloc&) {
    unlink(request.name.path.c_str());
    throw;
  }
}

// The descriptor, or -1 with its code in `code`.
int Open(const Request& request, DWORD& code) {
  const Kind kind = KindOf(request.name.path);
  code = CheckName(request, kind);
  if (code != ERROR_SUCCESS) {
    return -1;
  }
  bool existed = true;
  NewDescriptor fd(OpenByKind(request, kind, existed));
  code = fd.Get() < 0 ? CodeOfFailure(request.name.path)
         : existed    ? Complete(fd.Get(), request, true)
                      : CompleteMade(fd.Get(), request);
  if (code != ERROR_SUCCESS) {
    return -1;
  }
  const bool tellsExistence =
      request.disposition == CREATE_ALWAYS || request.disposition == OPEN_ALWAYS;
  if (existed && tellsExistence) {
    code = ERROR_ALREADY_EXISTS;
  }
  return fd.Release();
}

}  // namespace
}  // namespace posix

using namespace posix;

// As on Windows, a success sets the last error too: to 0, or to 183 when a file
// that might have been created was there.
HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE) {
  DWORD code = ERROR_INVALID_PARAMETER;
  int fd = -1;
  if (disposition >= CREATE_NEW && disposition <= TRUNCATE_EXISTING) {
    Request request = {{},
                       Rights(access, flags),
                       share,
                       disposition,
                       flags,
                       Permissions(security, flags),
                       security != nullptr && security->bInheritHandle};
    code = Resolve(name, request.name);
    if (code == ERROR_SUCCESS) {
      fd = Open(request, code);
    } else {
      code = MissingNameCode(request, code);
    }
  }
  SetLastError(code);
  return fd < 0 ? INVALID_HANDLE_VALUE : HandleOf(fd);
}

BOOL CloseHandle(HANDLE handle) {
  // -1 stands for this process; closing it changes nothing.
  if (handle == GetCurrentProcess()) {
    return TRUE;
  }
  const int number = CloseFile(DescriptorOf(handle));
  return number == 0 ? TRUE : Fail(CodeFromErrno(number));
}
