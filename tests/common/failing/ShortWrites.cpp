#include "common/failing/ShortWrites.h"

#include <algorithm>
#include <limits>

#include "common/failing/Redirection.h"

namespace {

constexpr DWORD kNoLimit = std::numeric_limits<DWORD>::max();
DWORD limit = kNoLimit;

}  // namespace

ShortWrites::ShortWrites(DWORD bytes) {
  limit = bytes;
}

ShortWrites::~ShortWrites() {
  limit = kNoLimit;
}

REDIRECT(BOOL, WriteFile, HANDLE handle, LPCVOID buffer, DWORD count, LPDWORD written,
         OVERLAPPED* overlapped) {
  return redirection::Fails(SystemCall::kWriteFile)
             ? FALSE
             : REAL(WriteFile)(handle, buffer, std::min(count, limit), written,
                               overlapped);
}
