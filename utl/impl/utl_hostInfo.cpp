#include "utl/utl_hostInfo.h"

#include <windows.h>
#include <winsock2.h>

#include <direct.h>
#include <io.h>

#include <algorithm>
#include <cstdio>

#include "utl/impl/utl_registryNumber.h"
#include "utl/impl/utl_timeText.h"

namespace {

constexpr int kTextSize = 127;
constexpr int kHostNameSize = 256;
constexpr int kUserNameSize = 257;
constexpr int kPathSize = 260;

// strftime would write the month in the process's locale.
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::tm LocalTime() {
  const __time64_t now = _time64(nullptr);
  return *_localtime64(&now);
}

}  // namespace

cow_String utl_dateText(const std::tm& when) {
  char text[kTextSize];
  std::snprintf(text, sizeof text, "%02d-%s-%04d", when.tm_mday, kMonths[when.tm_mon],
                when.tm_year + 1900);
  return text;
}

cow_String utl_timeText(const std::tm& when) {
  char text[kTextSize];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", when.tm_hour, when.tm_min,
                when.tm_sec);
  return text;
}

cow_String utl_getDate() {
  return utl_dateText(LocalTime());
}

cow_String utl_getTime() {
  return utl_timeText(LocalTime());
}

cow_String utl_getHostName() {
  WSADATA granted;
  char name[kHostNameSize] = "";
  if (WSAStartup(MAKEWORD(1, 1), &granted) != 0) {
    return {};
  }
  if (gethostname(name, sizeof name) != 0) {
    return {};
  }
  return name;
}

cow_String utl_getUserName() {
  char name[kUserNameSize];
  DWORD size = sizeof name;
  return GetUserNameA(name, &size) ? cow_String(name) : cow_String();
}

cow_String utl_getcwd() {
  char path[kPathSize];
  return _getcwd(path, sizeof path) != nullptr ? cow_String(path) : cow_String();
}

cow_String utl_getPlatform() {
  return "win86_64";
}

int utl_getNumberCpus() {
  SYSTEM_INFO system;
  GetSystemInfo(&system);
  return std::max(1, static_cast<int>(system.dwNumberOfProcessors));
}

int utl_getCpusClockSpeed() {
  return utl_registryNumber("HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                            {"~MHz", "~Mhz", "~mhz"});
}

int utl_registryNumber(const char* keyName, std::initializer_list<const char*> values) {
  HKEY key;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, keyName, 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return -1;
  }
  ULONGLONG slot = 0;
  const bool found = std::any_of(values.begin(), values.end(), [&](const char* value) {
    DWORD size = sizeof slot;
    return RegQueryValueExA(key, value, nullptr, nullptr, reinterpret_cast<BYTE*>(&slot),
                            &size) == ERROR_SUCCESS;
  });
  RegCloseKey(key);
  return found ? static_cast<int>(slot) : -1;
}

int utl_sleep(unsigned int milliseconds) {
  Sleep(milliseconds);
  return 1;
}

void utl_InitializeWinsock() {
  WSADATA granted;
  if (WSAStartup(MAKEWORD(2, 0), &granted) != 0) {
    return;
  }
  if (granted.wVersion != MAKEWORD(2, 0)) {
    WSACleanup();
  }
}
