#include "utl/utl_runMain.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "platform/platform.h"
#include "utl/impl/utl_failureText.h"
#include "utl/impl/utl_loadArguments.h"
#include "utl/utl_initialize.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_ResourceMonitor.h"

namespace {

const char* NameOf(const char* program) {
  return program != nullptr ? program : "program";
}

// Only a job has a name for its logs.
void OpenLogs() {
  try {
    const cow_String job = utl_JobFileName("");
    if (!std::string_view(job).ends_with('\\')) {  // of an empty name
      omi_Singleton<utl_ResourceMonitor>::Instance().Initialize(job);
      thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
    }
  } catch (const utl_MissingCmdLineArgException&) {  // NOLINT(bugprone-empty-catch)
  }
}

// Reports a failure, after everything that the program has printed.
void Tell(const char* program, const std::exception_ptr& failure) noexcept {
  try {
    std::fflush(stdout);
    std::fputs(utl_failureText(program, failure).c_str(), stderr);
  } catch (...) {
    std::fputs("There is not enough memory.\n", stderr);
  }
}

// Runs a part of the program and returns the exit status.
template <class Part>
int StatusOf(const char* program, Part part) noexcept {
  try {
    part();
    return EXIT_SUCCESS;
  } catch (...) {
    Tell(program, std::current_exception());
    return EXIT_FAILURE;
  }
}

std::atomic<bool> isRunning = false;

// For the terminate handler; null until that is installed, and never freed.
const std::string* nameOfProgram = nullptr;

std::exception_ptr Failure(const char* reason) {
  return std::make_exception_ptr(std::runtime_error(reason));
}

[[noreturn]] void TellAndAbort() {
  const std::exception_ptr thrown = std::current_exception();
  Tell(nameOfProgram->c_str(),
       thrown ? thrown : Failure("It was ended by std::terminate."));
  std::abort();
}

}  // namespace

int utl_runMain(const char* program, int argc, char** argv,
                const std::function<void(const utl_CommandLine&)>& work) {
  const char* const name = NameOf(program);
  if (isRunning.exchange(true)) {
    Tell(name, Failure("utl_runMain is at work already."));
    return EXIT_FAILURE;
  }
  platform::IgnoreSignalsOfWriting();
  int count = 0;
  int status = StatusOf(name, [&] {
    utl_initialize(count);
    utl_loadArguments(argc, argv);
    OpenLogs();
    work(thr_GlobalSingleton<utl_CommandLine>::Instance());
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      throw std::runtime_error("The standard output cannot be written.");
    }
  });
  status |= StatusOf(name, [&] {
    utl_finalize(count);
    omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  });
  isRunning = false;
  return status;
}

void utl_installTerminateHandler(const char* program) {
  delete std::exchange(nameOfProgram, new std::string(NameOf(program)));
  std::set_terminate(TellAndAbort);
}
