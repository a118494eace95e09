#include "common/environment/FileSizeLimit.h"

#include <signal.h>
#include <sys/resource.h>

namespace {

// The process's limit for itself, below that of its user.
void SetOwnLimit(rlim_t bytes) {
  rlimit limit = {};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = bytes < limit.rlim_max ? bytes : limit.rlim_max;
  setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace

FileSizeLimit::FileSizeLimit(int bytes) {
  signal(SIGXFSZ, SIG_IGN);  // the write fails instead
  SetOwnLimit(static_cast<rlim_t>(bytes));
}

FileSizeLimit::~FileSizeLimit() {
  SetOwnLimit(RLIM_INFINITY);
  signal(SIGXFSZ, SIG_DFL);
}

bool FileSizeLimit::IsAvailable() {
  return true;
}
