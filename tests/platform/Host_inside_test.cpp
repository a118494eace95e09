// The process, its machine, the time, the socket layer.

#include <winsock2.h>
// Behind winsock2.h:
#include <io.h>
#include <psapi.h>
#include <time.h>

#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "common/handle/AsHandle.h"
#include "platform/PlatformTest.h"

namespace {

constexpr char kProcessor[] = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";

HANDLE OpenOwn() {
  return OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE,
                     GetCurrentProcessId());
}

}  // namespace

TEST(HostTest, Processors) {
  SYSTEM_INFO information = {};
  GetSystemInfo(&information);
  EXPECT_GE(information.dwNumberOfProcessors, 1u);
  EXPECT_EQ(information.dwPageSize, 4096u);
}

TEST(HostTest, User) {
  char name[257] = {};
  DWORD size = sizeof name;
  ASSERT_TRUE(GetUserNameA(name, &size));
  EXPECT_EQ(size, std::string(name).size() + 1);
  DWORD small = 1;
  EXPECT_EQ(CodeOf([&] { return GetUserNameA(name, &small); }),
            DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(small, size);
}

TEST(HostTest, ClockRate) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kProcessor, 0, KEY_READ, &key), 0);
  for (const char* name : {"~MHz", "~Mhz", "~mhz"}) {
    unsigned long long rate = 0;
    DWORD size = sizeof rate;
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&rate),
                               &size),
              0);
    EXPECT_GT(rate, 100u);
    EXPECT_LT(rate, 100000u);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(type, DWORD{REG_DWORD});
  }
  EXPECT_EQ(RegQueryValueExA(key, "~MHz", nullptr, nullptr, nullptr, nullptr), 0);
  DWORD needed = 0;
  EXPECT_EQ(RegQueryValueExA(key, "~MHz", nullptr, nullptr, nullptr, &needed), 0);
  EXPECT_EQ(needed, 4u);
  BYTE small[2];
  DWORD size = sizeof small;
  EXPECT_EQ(RegQueryValueExA(key, "~MHz", nullptr, nullptr, small, &size),
            static_cast<LONG>(ERROR_MORE_DATA));
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(RegQueryValueExA(key, "no such", nullptr, nullptr, nullptr, nullptr),
            static_cast<LONG>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "NO\\SUCH", 0, KEY_READ, &key),
            static_cast<LONG>(ERROR_FILE_NOT_FOUND));
}

TEST(HostTest, OwnProcess) {
  const HANDLE process = OpenOwn();
  ASSERT_NE(process, nullptr);
  FILETIME creation;
  FILETIME exit;
  FILETIME kernel;
  FILETIME user;
  EXPECT_TRUE(GetProcessTimes(process, &creation, &exit, &kernel, &user));
  EXPECT_TRUE(GetProcessTimes(GetCurrentProcess(), &creation, &exit, &kernel, &user));
  EXPECT_TRUE(CloseHandle(process));
  EXPECT_EQ(
      CodeOf([&] { return GetProcessTimes(process, &creation, &exit, &kernel, &user); }),
      DWORD{ERROR_INVALID_HANDLE});
}

TEST(HostTest, OwnProcessClosedTwice) {
  const HANDLE process = OpenOwn();
  EXPECT_TRUE(CloseHandle(process));
  EXPECT_EQ(CodeOf([&] { return CloseHandle(process); }), DWORD{ERROR_INVALID_HANDLE});
}

TEST(HostTest, ProcessorTimesGrow) {
  const auto busy = [] {
    FILETIME creation, exit, kernel, user;
    EXPECT_TRUE(GetProcessTimes(GetCurrentProcess(), &creation, &exit, &kernel, &user));
    EXPECT_EQ(kernel.dwHighDateTime + user.dwHighDateTime, 0u);
    return kernel.dwLowDateTime + user.dwLowDateTime;
  };
  constexpr DWORD kSecond = 10'000'000;
  const auto start = std::chrono::steady_clock::now();
  const DWORD before = busy();
  while (busy() < before + kSecond / 10) {
  }
  // One thread spends no more than passes; clocks may tick coarsely.
  const auto passed = std::chrono::steady_clock::now() - start;
  EXPECT_LT(busy() - before, passed / std::chrono::nanoseconds(100) + kSecond / 10);
}

TEST(HostTest, NoProcess) {
  PROCESS_MEMORY_COUNTERS counters = {};
  HMODULE module = nullptr;
  DWORD needed = 0;
  FILETIME times[4];
  wchar_t name[8] = {};
  EXPECT_EQ(CodeOf([&] {
              return GetProcessTimes(nullptr, times, times + 1, times + 2, times + 3);
            }),
            DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(
      CodeOf([&] { return GetProcessMemoryInfo(nullptr, &counters, sizeof counters); }),
      DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(CodeOf([&] {
              return EnumProcessModules(nullptr, &module, sizeof(HMODULE), &needed);
            }),
            DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(CodeOf([&] { return GetModuleBaseNameW(nullptr, nullptr, name, 8) != 0; }),
            DWORD{ERROR_INVALID_HANDLE});
}

TEST(HostTest, NoSuchProcess) {
  EXPECT_EQ(CodeOf([] {
              return OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, 999999998) != nullptr;
            }),
            DWORD{ERROR_INVALID_PARAMETER});
}

TEST(HostTest, Memory) {
  const HANDLE process = OpenOwn();
  PROCESS_MEMORY_COUNTERS counters = {};
  EXPECT_EQ(sizeof counters, 72u);
  EXPECT_TRUE(GetProcessMemoryInfo(process, &counters, sizeof counters));
  EXPECT_GT(counters.WorkingSetSize, 100000u);
  EXPECT_GE(counters.PeakWorkingSetSize, counters.WorkingSetSize);
  EXPECT_GT(counters.PeakPagefileUsage, 0u);
  // There are no such pools.
  EXPECT_EQ(counters.QuotaPagedPoolUsage, 0u);
  EXPECT_EQ(counters.QuotaPeakPagedPoolUsage, 0u);
  EXPECT_EQ(counters.QuotaNonPagedPoolUsage, 0u);
  EXPECT_EQ(counters.QuotaPeakNonPagedPoolUsage, 0u);
  EXPECT_EQ(CodeOf([&] { return GetProcessMemoryInfo(process, &counters, 10); }),
            DWORD{ERROR_INSUFFICIENT_BUFFER});
  CloseHandle(process);
}

TEST(HostTest, MemoryThatIsTaken) {
  const auto counters = [] {
    PROCESS_MEMORY_COUNTERS result = {};
    EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &result, sizeof result));
    EXPECT_EQ(result.cb, sizeof result);
    return result;
  };
  constexpr std::size_t kBytes = 64 << 20;
  const PROCESS_MEMORY_COUNTERS before = counters();
  PROCESS_MEMORY_COUNTERS during;
  {
    const std::string touched(kBytes, 'x');
    during = counters();
    EXPECT_EQ(touched.back(), 'x');
  }
  const PROCESS_MEMORY_COUNTERS after = counters();
  EXPECT_GT(during.WorkingSetSize, before.WorkingSetSize + kBytes / 2);
  EXPECT_GT(during.PeakPagefileUsage, before.PagefileUsage + kBytes / 2);
  // The kernel counts its peak a little behind.
  EXPECT_GT(after.PeakWorkingSetSize + (1 << 20), during.WorkingSetSize);
  EXPECT_LE(after.WorkingSetSize, after.PeakWorkingSetSize);
}

TEST(HostTest, ModuleName) {
  const HANDLE process = OpenOwn();
  HMODULE module = nullptr;
  DWORD needed = 0;
  EXPECT_TRUE(EnumProcessModules(process, &module, sizeof(HMODULE), &needed));
  EXPECT_GE(needed, sizeof(HMODULE));
  wchar_t name[520] = {};
  const DWORD length = GetModuleBaseNameW(process, module, name, 520);
  const std::wstring base(name);
  EXPECT_EQ(base.size(), length);
  EXPECT_EQ(base.substr(0, base.find(L'.')), L"platform_inside_tests");
  // No room for all of it: what fits. The program is meant without a module, too.
  // (Wine writes a zero behind the buffer.)
  wchar_t small[10] = L"*********";
  EXPECT_EQ(GetModuleBaseNameW(process, nullptr, small, 8), 8u);
  EXPECT_EQ(std::wstring(small).substr(0, 8), L"platform");
  CloseHandle(process);
}

TEST(HostTest, Modules) {
  const HANDLE process = GetCurrentProcess();
  DWORD needed = 0;
  EXPECT_TRUE(EnumProcessModules(process, nullptr, 0, &needed));
  EXPECT_EQ(needed % sizeof(HMODULE), 0u);
  std::vector<HMODULE> modules(needed / sizeof(HMODULE) + 1);
  DWORD again = 0;
  EXPECT_TRUE(EnumProcessModules(process, modules.data(), needed, &again));
  EXPECT_EQ(again, needed);
  EXPECT_EQ(modules.back(), nullptr);
  modules.pop_back();
  EXPECT_GE(modules.size(), 3u);  // the program and its libraries
  std::set<std::wstring> names;
  for (const HMODULE module : modules) {
    wchar_t name[520] = {};
    EXPECT_GT(GetModuleBaseNameW(process, module, name, 520), 0u);
    EXPECT_EQ(std::wstring(name).find_first_of(L"/\\"), std::wstring::npos);
    names.insert(name);
  }
  EXPECT_EQ(names.size(), modules.size());
}

// As many as there is room for, be it no whole number.
TEST(HostTest, ModulesThatFit) {
  HMODULE modules[2] = {};
  DWORD needed = 0;
  EXPECT_TRUE(
      EnumProcessModules(GetCurrentProcess(), modules, sizeof(HMODULE) + 4, &needed));
  EXPECT_NE(modules[0], nullptr);
  EXPECT_EQ(modules[1], nullptr);
  EXPECT_GT(needed, sizeof modules);
}

TEST(HostTest, NoModule) {
  wchar_t name[8] = {};
  EXPECT_EQ(CodeOf([&] {
              const auto module = reinterpret_cast<HMODULE>(AsHandle(0x1234000));
              return GetModuleBaseNameW(GetCurrentProcess(), module, name, 8) != 0;
            }),
            DWORD{ERROR_INVALID_HANDLE});
}

TEST(HostTest, LocalTime) {
  // Asked again when the day has changed in between.
  __time64_t now = 0;
  SYSTEMTIME local = {};
  tm expected = {};
  do {
    const __time64_t result = _time64(&now);
    EXPECT_EQ(result, now);
    expected = *_localtime64(&now);
    GetLocalTime(&local);
    _time64(&now);
  } while (_localtime64(&now)->tm_mday != expected.tm_mday);
  EXPECT_EQ(local.wYear, expected.tm_year + 1900);
  EXPECT_EQ(local.wMonth, expected.tm_mon + 1);
  EXPECT_EQ(local.wDay, expected.tm_mday);
  EXPECT_EQ(local.wDayOfWeek, expected.tm_wday);
  EXPECT_LT(local.wMilliseconds, 1000);
}

TEST(HostTest, Sleep) {
  SetLastError(kUntouched);
  Sleep(0);
  Sleep(1);
  EXPECT_EQ(GetLastError(), kUntouched);
}

TEST(HostTest, SocketLayer) {
  const struct {
    WORD asked;
    int result;
    WORD granted;
  } cases[] = {{MAKEWORD(2, 0), 0, MAKEWORD(2, 0)},
               {MAKEWORD(1, 1), 0, MAKEWORD(1, 1)},
               {MAKEWORD(3, 3), 0, MAKEWORD(2, 2)},
               {MAKEWORD(0, 0), 10092, MAKEWORD(2, 2)}};
  char name[256] = {};
  EXPECT_EQ(gethostname(name, sizeof name), 0);  // before the first start, too
  EXPECT_STRNE(name, "");
  int starts = 0;
  for (const auto& one : cases) {
    WSADATA data = {};
    EXPECT_EQ(WSAStartup(one.asked, &data), one.result);
    EXPECT_EQ(data.wVersion, one.granted);
    if (one.result == 0) {
      ++starts;
    }
  }
  EXPECT_EQ(gethostname(name, sizeof name), 0);
  EXPECT_STRNE(name, "");
  for (; starts > 0; --starts) {
    EXPECT_EQ(WSACleanup(), 0);
  }
  EXPECT_EQ(WSACleanup(), -1);
}

TEST(HostTest, InheritanceOfHandles) {
  TempDir dir;
  const ScopedHandle file(Open(dir.File("f"), GENERIC_WRITE, kShareAll, CREATE_NEW));
  EXPECT_TRUE(SetHandleInformation(file, 0, HANDLE_FLAG_INHERIT));
  EXPECT_TRUE(SetHandleInformation(file, HANDLE_FLAG_INHERIT, 0));
  EXPECT_TRUE(SetHandleInformation(file, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT));
  EXPECT_EQ(CodeOf([] { return SetHandleInformation(nullptr, HANDLE_FLAG_INHERIT, 0); }),
            DWORD{ERROR_INVALID_HANDLE});
  // -1 stands for the own process.
  for (const DWORD flags : {DWORD{0}, DWORD{HANDLE_FLAG_INHERIT}}) {
    EXPECT_EQ(CodeOf([flags] {
                return SetHandleInformation(INVALID_HANDLE_VALUE, HANDLE_FLAG_INHERIT,
                                            flags);
              }),
              DWORD{ERROR_ACCESS_DENIED});
  }
}
