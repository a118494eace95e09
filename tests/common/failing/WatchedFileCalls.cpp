#include "common/failing/WatchedFileCalls.h"

#include <atomic>

#include "common/failing/Redirection.h"

using redirection::Fails;

namespace {

thread_local CreateFileArguments lastCreateFile;  // other threads open files meanwhile

struct {
  std::atomic<int> begun = 0;
  std::atomic<int> closed = 0;
} searches;

struct {
  std::atomic<bool> areWatched = false;
  std::atomic<int> count = 0;
  std::atomic<int> ofOpenFiles = 0;
} deletions;

struct {
  int calls = 0;
  HANDLE handle = nullptr;
  DWORD mask = 0;
  DWORD flags = 0;
} inheritance;

}  // namespace

std::ostream& operator<<(std::ostream& out, const CreateFileArguments& arguments) {
  return out << std::hex << "access " << arguments.access << ", shares "
             << arguments.shares << ", creation " << arguments.creation << ", flags "
             << arguments.flags << ", security " << arguments.hasSecurity << ", template "
             << arguments.hasTemplate << std::dec;
}

CreateFileArguments LastCreateFile() {
  return lastCreateFile;
}

REDIRECT(HANDLE, CreateFileA, LPCSTR name, DWORD access, DWORD share,
         SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
         HANDLE templateFile) {
  lastCreateFile = {
      access, share, disposition, flags, security != nullptr, templateFile != nullptr};
  return Fails(SystemCall::kCreateFile)
             ? INVALID_HANDLE_VALUE
             : REAL(CreateFileA)(name, access, share, security, disposition, flags,
                                 templateFile);
}

WatchedSearches::WatchedSearches() {
  searches.begun = searches.closed = 0;
}

int WatchedSearches::Begun() const {
  return searches.begun;
}

int WatchedSearches::Closed() const {
  return searches.closed;
}

REDIRECT(HANDLE, FindFirstFileA, LPCSTR pattern, WIN32_FIND_DATAA* data) {
  if (Fails(SystemCall::kFindFirstFileByNull)) {
    return nullptr;
  }
  if (Fails(SystemCall::kFindFirstFile)) {
    return INVALID_HANDLE_VALUE;
  }
  const HANDLE search = REAL(FindFirstFileA)(pattern, data);
  if (search != INVALID_HANDLE_VALUE) {
    ++searches.begun;
  }
  return search;
}

REDIRECT(BOOL, FindClose, HANDLE search) {
  ++searches.closed;
  return REAL(FindClose)(search);
}

WatchedDeletions::WatchedDeletions() {
  deletions.count = deletions.ofOpenFiles = 0;
  deletions.areWatched = true;
}

WatchedDeletions::~WatchedDeletions() {
  deletions.areWatched = false;
}

int WatchedDeletions::Count() const {
  return deletions.count;
}

int WatchedDeletions::OfOpenFiles() const {
  return deletions.ofOpenFiles;
}

static void CountDeletion(LPCSTR name) {
  const DWORD before = GetLastError();
  // Shares nothing: fails when anybody else has the file open.
  const HANDLE alone =
      REAL(CreateFileA)(name, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  const bool isOpen =
      alone == INVALID_HANDLE_VALUE && GetLastError() == ERROR_SHARING_VIOLATION;
  if (alone != INVALID_HANDLE_VALUE) {
    REAL(CloseHandle)(alone);
  }
  deletions.count += isOpen || alone != INVALID_HANDLE_VALUE ? 1 : 0;
  deletions.ofOpenFiles += isOpen ? 1 : 0;
  SetLastError(before);
}

REDIRECT(BOOL, DeleteFileA, LPCSTR name) {
  if (Fails(SystemCall::kDeleteFile)) {
    return FALSE;
  }
  if (deletions.areWatched) {
    CountDeletion(name);
  }
  return REAL(DeleteFileA)(name);
}

WatchedInheritance::WatchedInheritance() {
  inheritance = {};
}

int WatchedInheritance::Calls() const {
  return inheritance.calls;
}

HANDLE WatchedInheritance::Handle() const {
  return inheritance.handle;
}

DWORD WatchedInheritance::Mask() const {
  return inheritance.mask;
}

DWORD WatchedInheritance::Flags() const {
  return inheritance.flags;
}

REDIRECT(BOOL, SetHandleInformation, HANDLE handle, DWORD mask, DWORD flags) {
  inheritance = {inheritance.calls + 1, handle, mask, flags};
  return Fails(SystemCall::kSetHandleInformation)
             ? FALSE
             : REAL(SetHandleInformation)(handle, mask, flags);
}
