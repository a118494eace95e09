#include "common/handle/BytesOnDisk.h"

#include <sys/stat.h>

#include <stdexcept>

std::int64_t BytesOnDisk(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    throw std::runtime_error("no file");
  }
  return std::int64_t{status.st_blocks} * 512;
}
