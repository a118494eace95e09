// This process: its number, times, memory and name.
//
// The number is cached, since the library asks for it often; a child of fork() asks the
// system again.
//
// Not emulated: other processes (code 87), the access asked for, the time of creation
// (0), names that are not ASCII (a wide character a byte), pool quotas (0), the highest
// use of the page file (the highest that a call has seen stands for it). A child made
// without the C library's fork() has its parent's number.

#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <psapi.h>
#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"

namespace posix {
namespace {

// The handle of the program's module is a fixed number, since its address may be 0; that
// of a library is its address.
const HMODULE kProgram = reinterpret_cast<HMODULE>(ULONG_PTR{0x400000});

std::atomic<DWORD> processId = 0;  // 0 until it is asked for

bool IsOwnProcess(HANDLE handle) {
  return handle == GetCurrentProcess() || IsProcess(DescriptorOf(handle));
}

FILETIME Duration(const timeval& time) {
  const auto intervals = static_cast<ULONGLONG>(time.tv_sec) * 10000000 +
                         static_cast<ULONGLONG>(time.tv_usec) * 10;
  return {static_cast<DWORD>(intervals), static_cast<DWORD>(intervals >> 32)};
}

struct Memory {
  SIZE_T peakResident = 0;
  SIZE_T resident = 0;
  SIZE_T residentOfFiles = 0;
  SIZE_T data = 0;
};

// In bytes; 0 for what the system does not report.
Memory OwnMemory() {
  Memory memory;
  const struct {
    std::string_view name;
    SIZE_T& bytes;
  } wanted[] = {{"VmHWM:", memory.peakResident},
                {"VmRSS:", memory.resident},
                {"RssFile:", memory.residentOfFiles},
                {"VmData:", memory.data}};
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    for (const auto& one : wanted) {
      if (line.starts_with(one.name)) {
        one.bytes = std::strtoull(line.c_str() + one.name.size(), nullptr, 10) * 1024;
      }
    }
  }
  return memory;
}

// The highest of the values it was given so far.
class Peak {
 public:
  SIZE_T With(SIZE_T value) {
    SIZE_T seen = highest_;
    while (value > seen && !highest_.compare_exchange_weak(seen, value)) {
    }
    return std::max(value, seen);
  }

 private:
  std::atomic<SIZE_T> highest_ = 0;
};

Peak peakResident;
Peak peakData;

struct Module {
  HMODULE handle;
  std::string path;
};

std::string ProgramPath() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return {path, static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

// The system lists the program first, and without its name.
std::vector<Module> Modules() {
  std::vector<Module> modules;
  const auto add = [](dl_phdr_info* found, size_t, void* result) {
    auto& all = *static_cast<std::vector<Module>*>(result);
    if (all.empty()) {
      all.push_back({kProgram, ProgramPath()});
    } else {
      all.push_back({reinterpret_cast<HMODULE>(found->dlpi_addr), found->dlpi_name});
    }
    return 0;
  };
  dl_iterate_phdr(add, &modules);
  return modules;
}

}  // namespace
}  // namespace posix

using namespace posix;

HANDLE GetCurrentProcess() {
  return INVALID_HANDLE_VALUE;
}

DWORD GetCurrentProcessId() {
  const DWORD known = processId.load(std::memory_order_relaxed);
  if (known != 0) {
    return known;
  }
  const auto asked = static_cast<DWORD>(getpid());
  static const bool toldOfForks =
      pthread_atfork(nullptr, nullptr, [] { processId = 0; }) == 0;
  if (toldOfForks) {
    processId.store(asked, std::memory_order_relaxed);
  }
  return asked;
}

// The handle stands for a descriptor, so that it is closed like any other.
HANDLE OpenProcess(DWORD, BOOL inherit, DWORD id) {
  if (id != GetCurrentProcessId()) {
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
  if (!IsOwnProcess(process)) {
    return Fail(ERROR_INVALID_HANDLE);
  }
  rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) != 0) {
    return FailWithErrno();
  }
  *creation = {};
  *exit = {};
  *kernel = Duration(usage.ru_stime);
  *user = Duration(usage.ru_utime);
  return TRUE;
}

BOOL GetProcessMemoryInfo(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size) {
  if (size < sizeof *counters) {
    return Fail(ERROR_INSUFFICIENT_BUFFER);
  }
  if (!IsOwnProcess(process)) {
    return Fail(ERROR_INVALID_HANDLE);
  }
  rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) != 0) {
    return FailWithErrno();
  }
  *counters = {};
  counters->cb = sizeof *counters;
  counters->PageFaultCount = static_cast<DWORD>(usage.ru_minflt + usage.ru_majflt);
  const Memory memory = OwnMemory();
  counters->WorkingSetSize = memory.resident;
  // The kernel updates its peak with a delay.
  counters->PeakWorkingSetSize =
      peakResident.With(std::max(memory.peakResident, memory.resident));
  counters->PagefileUsage = memory.data;
  // Resident memory that belongs to no file was in use, whether a call saw it or not.
  const SIZE_T ofFiles = std::min(counters->PeakWorkingSetSize, memory.residentOfFiles);
  counters->PeakPagefileUsage =
      peakData.With(std::max(memory.data, counters->PeakWorkingSetSize - ofFiles));
  return TRUE;
}

BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, LPDWORD needed) {
  if (!IsOwnProcess(process)) {
    return Fail(ERROR_INVALID_HANDLE);
  }
  const std::vector<Module> all = Modules();
  const size_t room = std::min<size_t>(size / sizeof(HMODULE), all.size());
  std::transform(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(room), modules,
                 [](const Module& module) { return module.handle; });
  *needed = static_cast<DWORD>(all.size() * sizeof(HMODULE));
  return TRUE;
}

DWORD GetModuleBaseNameW(HANDLE process, HMODULE module, LPWSTR name, DWORD size) {
  const std::vector<Module> all = Modules();
  const auto found = std::find_if(all.begin(), all.end(), [module](const Module& one) {
    return one.handle == (module != nullptr ? module : kProgram);
  });
  if (!IsOwnProcess(process) || found == all.end()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  const std::string base = found->path.substr(found->path.find_last_of('/') + 1);
  const auto length = std::min<size_t>(base.size(), size);
  for (size_t i = 0; i < length; ++i) {
    name[i] = static_cast<unsigned char>(base[i]);
  }
  if (length < size) {  // otherwise there is no room for it
    name[length] = L'\0';
  }
  return static_cast<DWORD>(length);
}
