#include "common/handle/FileTime.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <stdexcept>

void SetWriteTime(const std::string& path, std::int64_t milliseconds) {
  // The nanoseconds count forwards, even before 1970.
  const std::int64_t fraction = (milliseconds % 1000 + 1000) % 1000;
  const timespec written = {(milliseconds - fraction) / 1000, fraction * 1'000'000};
  const timespec times[] = {{0, UTIME_OMIT}, written};
  if (utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
    throw std::runtime_error("cannot set the time of " + path);
  }
}
