// Time, the machine and its user.
//
// Not emulated: of GetSystemInfo everything but the page size and the number of
// processors.

#include <pwd.h>
#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include <io.h>
#include "platform/posix/state/posix_error.h"

using namespace posix;

void Sleep(DWORD milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  timespec rest = {static_cast<time_t>(milliseconds / 1000),
                   static_cast<long>(milliseconds % 1000) * 1000000};
  while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
  }
}

void GetLocalTime(SYSTEMTIME* time) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  tm local = {};
  localtime_r(&now.tv_sec, &local);
  const auto word = [](long value) { return static_cast<WORD>(value); };
  *time = {word(local.tm_year + 1900), word(local.tm_mon + 1),     word(local.tm_wday),
           word(local.tm_mday),        word(local.tm_hour),        word(local.tm_min),
           word(local.tm_sec),         word(now.tv_nsec / 1000000)};
}

__time64_t _time64(__time64_t* result) {
  const __time64_t now = time(nullptr);
  if (result != nullptr) {
    *result = now;
  }
  return now;
}

tm* _localtime64(const __time64_t* when) {
  thread_local tm local;
  const time_t seconds = *when;
  return localtime_r(&seconds, &local);
}

void GetSystemInfo(SYSTEM_INFO* information) {
  information->dwPageSize = static_cast<DWORD>(sysconf(_SC_PAGESIZE));
  information->dwNumberOfProcessors =
      static_cast<DWORD>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L));
}

BOOL GetUserNameA(LPSTR buffer, LPDWORD size) {
  char text[4096];
  passwd entry = {};
  passwd* found = nullptr;
  getpwuid_r(geteuid(), &entry, text, sizeof text, &found);
  if (found == nullptr) {
    return Fail(ERROR_NO_SUCH_USER);
  }
  const std::string name = found->pw_name;
  const auto needed = static_cast<DWORD>(name.size() + 1);
  const bool fits = *size >= needed;
  *size = needed;
  if (!fits) {
    return Fail(ERROR_INSUFFICIENT_BUFFER);
  }
  std::memcpy(buffer, name.c_str(), needed);
  return TRUE;
}
