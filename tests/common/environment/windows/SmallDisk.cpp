#include "common/environment/SmallDisk.h"

bool MountSmallDisk(const std::string& /*directory*/, std::int64_t /*bytes*/) {
  return false;
}
