#include "utl/impl/multisection/utl_LockFileHolder.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "platform/platform.h"
#include "thr/thr_currentProcess.h"

namespace {

constexpr int kExclusiveCreate = 0x500;  // create, and fail if the file exists
constexpr int kWritePermission = 0x80;

}  // namespace

utl_LockFileHolder::utl_LockFileHolder(const cow_String& path, int attempts,
                                       unsigned pauseMilliseconds, void* like)
    : path_(path), like_(like) {
  acquire(attempts, pauseMilliseconds);
}

utl_LockFileHolder::~utl_LockFileHolder() {
  if (held_ && process_ == thr_currentProcess()) {
    _unlink(path_.c_str());
  }
}

bool utl_LockFileHolder::acquire(int attempts, unsigned pauseMilliseconds) {
  for (int tries = 0; !held_ && tries < attempts; ++tries) {
    process_ = thr_currentProcess();
    TryOnce();
    if (!held_) {
      Sleep(pauseMilliseconds);
    }
  }
  return held_;
}

void utl_LockFileHolder::TryOnce() {
  const int descriptor = _open(path_.c_str(), kExclusiveCreate, kWritePermission);
  if (descriptor < 0) {
    return;
  }
  held_ = descriptor > 0;  // so that it is removed should memory run out below
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  const auto file = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  platform::GiveRights(file, like_);
  _close(descriptor);
  if (descriptor == 0) {
    // Descriptor 0 counts as a failure, as it always has; but the file just made must not
    // lock out the next attempt.
    _unlink(path_.c_str());
  }
}
