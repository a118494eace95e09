#include "common/failing/posix/FailingSystemCall.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "common/failing/Redirection.h"

namespace {

// What is planned. Other threads may make calls meanwhile.
std::atomic<PosixCall> planned;
std::atomic<int> errorNumber;
std::atomic<int> callsToGo;  // 0: no failure is planned
std::atomic<bool> hasHappened;

}  // namespace

FailingSystemCall::FailingSystemCall(PosixCall call, int number, int nth) {
  planned = call;
  errorNumber = number;
  hasHappened = false;
  callsToGo = nth;
}

FailingSystemCall::~FailingSystemCall() {
  callsToGo = 0;
}

bool FailingSystemCall::Happened() const {
  return hasHappened;
}

bool redirection::Fails(PosixCall call) {
  if (callsToGo == 0 || call != planned || --callsToGo != 0) {
    return false;
  }
  hasHappened = true;
  errno = errorNumber;
  return true;
}

// The calls that change nothing on a disk; RecordedDisk.cpp has the others.

using redirection::Fails;

REDIRECT(int, chdir, const char* path) {
  return Fails(PosixCall::kChangeDirectory) ? -1 : REAL(chdir)(path);
}

REDIRECT(int, clock_nanosleep, clockid_t clock, int flags, const timespec* time,
         timespec* rest) {
  return Fails(PosixCall::kSleep) ? errno
                                  : REAL(clock_nanosleep)(clock, flags, time, rest);
}

REDIRECT(int, close, int fd) {
  const int closed = REAL(close)(fd);
  return Fails(PosixCall::kClose) ? -1 : closed;
}

REDIRECT(int, fchown, int fd, uid_t owner, gid_t group) {
  return Fails(PosixCall::kChangeOwner) ? -1 : REAL(fchown)(fd, owner, group);
}

REDIRECT(int, fcntl, int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);  // a number passes as well
  va_end(arguments);
  if (command == F_OFD_SETLK && Fails(PosixCall::kAcceptLock)) {
    return 0;
  }
  const bool fails = (command == F_OFD_SETLK && Fails(PosixCall::kLock)) ||
                     (command == F_OFD_GETLK && Fails(PosixCall::kAskForLock)) ||
                     (command == F_OFD_SETLKW && Fails(PosixCall::kLockWaiting)) ||
                     (command == F_DUPFD_CLOEXEC && Fails(PosixCall::kDuplicate));
  return fails ? -1 : REAL(fcntl)(fd, command, argument);
}

REDIRECT(FILE*, fopencookie, void* cookie, const char* mode,
         cookie_io_functions_t functions) {
  return Fails(PosixCall::kMakeStream) ? nullptr
                                       : REAL(fopencookie)(cookie, mode, functions);
}

REDIRECT(int, fstat, int fd, struct stat* status) {
  return Fails(PosixCall::kStatus) ? -1 : REAL(fstat)(fd, status);
}

REDIRECT(int, fstatat, int directory, const char* name, struct stat* status, int flags) {
  return Fails(PosixCall::kStatusAt) ? -1 : REAL(fstatat)(directory, name, status, flags);
}

REDIRECT(int, fstatfs, int fd, struct statfs* status) {
  return Fails(PosixCall::kSystemOfFile) ? -1 : REAL(fstatfs)(fd, status);
}

REDIRECT(ssize_t, getdents64, int fd, void* records, size_t size) {
  return Fails(PosixCall::kReadDirectory) ? -1 : REAL(getdents64)(fd, records, size);
}

REDIRECT(int, getpwuid_r, uid_t user, passwd* entry, char* text, size_t size,
         passwd** found) {
  if (Fails(PosixCall::kUser)) {
    *found = nullptr;
    return errno;
  }
  return REAL(getpwuid_r)(user, entry, text, size, found);
}

REDIRECT(int, inotify_add_watch, int fd, const char* path, uint32_t mask) {
  return Fails(PosixCall::kWatch) ? -1 : REAL(inotify_add_watch)(fd, path, mask);
}

REDIRECT(int, inotify_init1, int flags) {
  return Fails(PosixCall::kMakeNotices) ? -1 : REAL(inotify_init1)(flags);
}

REDIRECT(int, kill, pid_t process, int number) {
  return Fails(PosixCall::kTestProcess) ? -1 : REAL(kill)(process, number);
}

REDIRECT(DIR*, opendir, const char* path) {
  return Fails(PosixCall::kOpenDirectory) ? nullptr : REAL(opendir)(path);
}

REDIRECT(ssize_t, read, int fd, void* bytes, size_t count) {
  return Fails(PosixCall::kRead) ? -1 : REAL(read)(fd, bytes, count);
}

REDIRECT(char*, realpath, const char* path, char* resolved) {
  return Fails(PosixCall::kTellWhole) ? nullptr : REAL(realpath)(path, resolved);
}

REDIRECT(int, statx, int directory, const char* name, int flags, unsigned mask,
         struct statx* status) {
  return Fails(PosixCall::kStatusMore)
             ? -1
             : REAL(statx)(directory, name, flags, mask, status);
}

// The layer's own calls: the sanitizers use those of POSIX before a program may run.

REDIRECT(DWORD, FlsAlloc, PFLS_CALLBACK_FUNCTION callback) {
  return Fails(PosixCall::kMakeSlot) ? FLS_OUT_OF_INDEXES : REAL(FlsAlloc)(callback);
}

REDIRECT(BOOL, FlsSetValue, DWORD slot, PVOID value) {
  return Fails(PosixCall::kSetSlot) ? FALSE : REAL(FlsSetValue)(slot, value);
}

// Calls the one above, which clang has in place.
REDIRECT(BOOL, TlsSetValue, DWORD slot, PVOID value) {
  return Fails(PosixCall::kSetSlot) ? FALSE : REAL(TlsSetValue)(slot, value);
}
