// Start and end of a process that starts and ends the library, beside one that is linked
// to the same libraries of the system and does nothing.

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench_work.h"
#include "utl/utl_initialize.h"

namespace {

// Runs a program that lies beside this one; gives the processor time that it took, of
// which the start by the system is part, in seconds.
double Run(const char* name) {
  static const std::filesystem::path folder =
      std::filesystem::read_symlink("/proc/self/exe").parent_path();
  std::string program = folder / name;
  char* arguments[] = {program.data(), nullptr};
  pid_t child = 0;
  int status = 1;
  rusage usage;
  if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ) != 0 ||
      wait4(child, &status, 0, &usage) != child || status != 0) {
    std::abort();
  }
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace

void bench::AddWorks() {
  Work("start and end of a process")
      .Timed("ours", [] { return Run("utl_initialize_program_ours"); })
      .Timed("limit empty program", [] { return Run("utl_initialize_program_empty"); });
  Work("start and end in a running process")
      .Measured("ours",
                [count = 0]() mutable {
                  utl_initialize(count);
                  utl_finalize(count);
                })
      .Counted();
}
