#include "platform/posix/state/posix_directory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/state/posix_error.h"

namespace posix {

int OpenDirectory(const std::string& path) {
  return Retried([&] { return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
}

// File systems that have nothing to flush answer EINVAL.
bool FlushDirectory(int directory) {
  return Retried([&] { return fsync(directory); }) == 0 || errno == EINVAL;
}

}  // namespace posix
