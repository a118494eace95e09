// The own process: its times, memory and name.
//
// Not emulated: other processes (code 87), the access asked for, the time of
// creation (0), modules other than the program, names that are not ASCII (a wide
// character a byte), pool quotas (0), the highest use of the page file (the present
// one stands for it).

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "posix_error.h"
#include "posix_file.h"
#include "psapi.h"

namespace posix {
namespace {

const HMODULE kProgram = reinterpret_cast<HMODULE>(ULONG_PTR{0x400000});

bool IsOwnProcess(HANDLE handle) {
  return handle == GetCurrentProcess() || IsProcess(DescriptorOf(handle));
}

FILETIME Duration(const timeval& time) {
  const auto intervals = static_cast<ULONGLONG>(time.tv_sec) * 10000000 +
                         static_cast<ULONGLONG>(time.tv_usec) * 10;
  return {static_cast<DWORD>(intervals), static_cast<DWORD>(intervals >> 32)};
}

// Bytes of one line of the process's status, such as "VmHWM:"; 0 when it is absent.
SIZE_T MemoryLine(const std::string& name) {
  std::ifstream status("/proc/self/status");
  std::string word;
  SIZE_T kibibytes = 0;
  while (status >> word) {
    if (word == name && status >> kibibytes) return kibibytes * 1024;
  }
  return 0;
}

std::string ProgramPath() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return {path, static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

}  // namespace
}  // namespace posix

using namespace posix;

HANDLE GetCurrentProcess() {
  return INVALID_HANDLE_VALUE;
}

DWORD GetCurrentProcessId() {
  return static_cast<DWORD>(getpid());
}

// A descriptor stands behind the handle, so that it is closed as any other.
HANDLE OpenProcess(DWORD, BOOL inherit, DWORD processId) {
  if (processId != GetCurrentProcessId()) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const int closeOnExec = inherit ? 0 : O_CLOEXEC;
  NewDescriptor fd(
      Retried([&] { return open("/proc/self", O_RDONLY | O_DIRECTORY | closeOnExec); }));
  if (fd.Get() < 0) {
    FailWithErrno();
    return nullptr;
  }
  OpenFile process;
  process.isProcess = true;
  EnterFile(fd.Get(), process);
  return HandleOf(fd.Release());
}

BOOL GetProcessTimes(HANDLE process, FILETIME* creation, FILETIME* exit, FILETIME* kernel,
                     FILETIME* user) {
  if (!IsOwnProcess(process)) return Fail(ERROR_INVALID_HANDLE);
  rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) != 0) return FailWithErrno();
  *creation = {};
  *exit = {};
  *kernel = Duration(usage.ru_stime);
  *user = Duration(usage.ru_utime);
  return TRUE;
}

BOOL GetProcessMemoryInfo(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size) {
  if (size < sizeof *counters) return Fail(ERROR_INSUFFICIENT_BUFFER);
  if (!IsOwnProcess(process)) return Fail(ERROR_INVALID_HANDLE);
  rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) != 0) return FailWithErrno();
  *counters = {};
  counters->cb = sizeof *counters;
  counters->PageFaultCount = static_cast<DWORD>(usage.ru_minflt + usage.ru_majflt);
  counters->WorkingSetSize = MemoryLine("VmRSS:");
  // The kernel counts the peak a little behind.
  counters->PeakWorkingSetSize = std::max(MemoryLine("VmHWM:"), counters->WorkingSetSize);
  counters->PagefileUsage = MemoryLine("VmData:");
  counters->PeakPagefileUsage = counters->PagefileUsage;
  return TRUE;
}

BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, LPDWORD needed) {
  if (!IsOwnProcess(process)) return Fail(ERROR_INVALID_HANDLE);
  if (size >= sizeof(HMODULE)) *modules = kProgram;
  *needed = sizeof(HMODULE);
  return TRUE;
}

DWORD GetModuleBaseNameW(HANDLE process, HMODULE module, LPWSTR name, DWORD size) {
  if (!IsOwnProcess(process) || (module != nullptr && module != kProgram)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  const std::string path = ProgramPath();
  const std::string base = path.substr(path.find_last_of('/') + 1);
  if (size == 0) return 0;
  const auto length = std::min<size_t>(base.size(), size - 1);
  for (size_t i = 0; i < length; ++i) name[i] = static_cast<unsigned char>(base[i]);
  name[length] = L'\0';
  return static_cast<DWORD>(length);
}
