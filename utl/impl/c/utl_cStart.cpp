// kst_start, kst_end, version and paths.

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <type_traits>

#include "utl/impl/c/utl_cCall.h"
#include "utl/impl/utl_loadArguments.h"
#include "utl/utl_initialize.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_Version.h"

utl_CState* utl_cState = nullptr;

namespace {

int starts = 0;
int libraryCount = 0;

std::atomic<std::uintptr_t> lastHandle = 0;

void CheckArguments(int argc, char** argv) {
  if (argc < 0) {
    utl_cFail(kst_BadArgument, "argc is negative");
  }
  for (int i = 0; i < argc; ++i) {
    utl_cRequire(argv, "argv");
    utl_cRequire(argv[i], "an argument");
  }
}

// Closes what is still open; returns the status of the last that could not be closed.
template <class Object, class Handle>
void CloseAll(utl_CHandles<Object>& handles, kst_Status (*close)(Handle*),
              kst_Status& status) {
  while (void* const handle = handles.Any()) {
    const kst_Status closed = close(static_cast<Handle*>(handle));
    status = closed == kst_Ok ? status : closed;
  }
}

void End(utl_CState& state) {
  const bool hasLogs = state.hasLogs;
  delete &state;
  utl_cState = nullptr;
  utl_finalize(libraryCount);
  if (hasLogs) {
    omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  }
}

void Begin(int argc, char** argv) {
  utl_cState = new utl_CState;
  try {
    utl_initialize(libraryCount);
    utl_loadArguments(argc, argv);
  } catch (...) {  // a start that fails on the way has been counted
    End(*utl_cState);
    throw;
  }
}

// The path in the bytes that the library takes, which may differ from the system's own.
cow_String Native(const cow_String& path) {
  const std::filesystem::path native = utl_nativePath(path);
  return std::is_same_v<std::filesystem::path::value_type, char>
             ? cow_String(native.string())
             : utl_fromNativePath(native);
}

const utl_Version& Version() {
  return omi_Singleton<utl_Version>::Instance();
}

}  // namespace

void* utl_cNewHandle() {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): nobody looks where it points to.
  return reinterpret_cast<void*>(++lastHandle);
}

kst_Status kst_start(int argc, char** argv) {
  return utl_cTry("kst_start", [&] {
    CheckArguments(argc, argv);
    if (starts == 0) {
      Begin(argc, argv);
    }
    ++starts;
  });
}

kst_Status kst_end() {
  kst_Status closed = kst_Ok;
  const kst_Status ended = utl_cCall("kst_end", [&](utl_CState& state) {
    if (--starts == 0) {
      CloseAll(state.sections, &kst_closeSections, closed);
      CloseAll(state.files, &kst_closeFile, closed);
      End(state);
    }
  });
  return ended == kst_Ok ? closed : ended;
}

kst_Status kst_version(int* major, int* minor, int* update) {
  return utl_cCall("kst_version", [&](utl_CState&) {
    utl_cRequire(major, "major");
    utl_cRequire(minor, "minor");
    utl_cRequire(update, "update");
    *major = Version().MajorVersion();
    *minor = Version().MinorVersion();
    *update = Version().UpdateVersion();
  });
}

kst_Status kst_versionText(char* buffer, size_t size, size_t* length) {
  return utl_cCall("kst_versionText", [&](utl_CState&) {
    utl_cHandOut(Version().VersionNumber(), buffer, size, length);
  });
}

kst_Status kst_jobFileName(const char* ending, char* buffer, size_t size,
                           size_t* length) {
  return utl_cCall("kst_jobFileName", [&](utl_CState&) {
    utl_cRequire(ending, "ending");
    utl_cHandOut(utl_JobFileName(ending), buffer, size, length);
  });
}

kst_Status kst_nativePath(const char* path, char* buffer, size_t size, size_t* length) {
  return utl_cCall("kst_nativePath", [&](utl_CState&) {
    utl_cRequire(path, "path");
    utl_cHandOut(Native(path), buffer, size, length);
  });
}
