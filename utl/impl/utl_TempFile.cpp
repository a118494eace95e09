#include "utl/utl_TempFile.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "omi/omi_SystemErrorCode.h"
#include "platform/platform.h"
#include "thr/thr_currentProcess.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_DirPathUtils.h"
#include "utl/utl_DiskAttributes.h"
#include "utl/utl_Stat.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_TempFile";

// The run time replaces the X's.
constexpr char kTemplate[] = "KstTempFileXXXXXX";

// Leaves line ends to the run time's default, since nothing is read or written through
// the descriptor.
constexpr int kOpenFlags = _O_RDWR;
constexpr int kCreateFlags = _O_RDWR | _O_CREAT | _O_EXCL;
constexpr int kPermission = _S_IREAD | _S_IWRITE;

bool IsDirectory(const cow_String& candidate) {
  const utl_Stat status(utl_DirPathUtils::TrimSeparator(candidate));
  return status.record != nullptr && status.isDirectory;
}

// The directory for temporary files, with a separator at its end; empty if there is none.
cow_String Directory() {
  const auto& commandLine = thr_GlobalSingleton<utl_CommandLine>::Instance();
  if (commandLine.IsMember("tmpdir")) {
    const cow_String option = commandLine.ConstGetValue("tmpdir");
    if (IsDirectory(option)) {
      return utl_DirPathUtils::AddSeparator(option);
    }
  }
  for (const char* variable : {"SCRATCH", "TMPDIR"}) {
    const char* value = platform::Environment(variable);
    if (value != nullptr && IsDirectory(value)) {
      return utl_DirPathUtils::AddSeparator(value);
    }
  }
  return {};
}

cow_String UnusedPath(const cow_String& directory) {
  std::string path = std::string(directory) + kTemplate;
  if (_mktemp(path.data()) == nullptr) {
    utl_TempFileCantExc().Throw(kSource);
  }
  return cow_String(path);
}

cow_String WithSuffix(const cow_String& path, const cow_String& suffix) {
  if (suffix.IsEmpty() || suffix[0] == '.') {
    return path + suffix;
  }
  return path + "." + suffix;
}

}  // namespace

utl_TempFile::utl_TempFile(const cow_String& suffix) : name_(suffix) {}

utl_TempFile::~utl_TempFile() {
  if (!named_) {
    return;
  }
  Close();
  if (process_ == thr_currentProcess()) {
    _unlink(name_.c_str());
  }
}

void utl_TempFile::Create() {
  const int descriptor = _open(Name().c_str(), kCreateFlags, kPermission);
  if (descriptor < 0) {
    ThrowCannotOpen(errno);
  }
  Keep(descriptor);
}

void utl_TempFile::Open() {
  if (!OpenIfPresent()) {
    ThrowCannotOpen(ENOENT);
  }
}

bool utl_TempFile::OpenIfPresent() {
  const int descriptor = _open(Name().c_str(), kOpenFlags, kPermission);
  if (descriptor >= 0) {
    Keep(descriptor);
  } else if (errno != ENOENT) {
    ThrowCannotOpen(errno);
  }
  return descriptor >= 0;
}

void utl_TempFile::Close() {
  if (descriptor_ >= 0) {
    _close(descriptor_);
  }
  descriptor_ = -1;
}

std::uint64_t utl_TempFile::AvailableSpace() const {
  MakeName();
  return availableSpace_;
}

const cow_String& utl_TempFile::Name() const {
  MakeName();
  return name_;
}

// Changes nothing unless all succeeds.
void utl_TempFile::MakeName() const {
  if (named_) {
    return;
  }
  const cow_String directory = Directory();
  if (directory.IsEmpty()) {
    utl_TempFileCantExc().Throw(kSource);
  }
  utl_DiskAttributes disk(utl_DirPathUtils::TrimSeparator(directory));
  const std::uint64_t space = disk.GetFreeDiskSpace();
  name_ = WithSuffix(UnusedPath(directory), name_);
  availableSpace_ = space;
  process_ = thr_currentProcess();
  named_ = true;
}

void utl_TempFile::Keep(int descriptor) {
  Close();
  descriptor_ = descriptor;
}

void utl_TempFile::ThrowCannotOpen(int error) const {
  const omi_SystemErrorCode code(omi_SystemErrorCode::kRunTime, error);
  utl_TempFileOpenExc(name_, cow_String(code.Text())).Throw(kSource);
}
