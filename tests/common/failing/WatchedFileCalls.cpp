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
