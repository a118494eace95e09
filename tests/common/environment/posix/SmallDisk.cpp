#include "common/environment/SmallDisk.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>

namespace {

bool WriteFile(const std::string& path, const std::string& text) {
  return static_cast<bool>(std::ofstream(path) << text << std::flush);
}

// A process that may not mount may do so in a user namespace of its own, where it is
// root.
bool BecomeOwnRoot() {
  const std::string user = "0 " + std::to_string(geteuid()) + " 1";
  const std::string group = "0 " + std::to_string(getegid()) + " 1";
  return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
         WriteFile("/proc/self/setgroups", "deny") &&
         WriteFile("/proc/self/uid_map", user) && WriteFile("/proc/self/gid_map", group);
}

}  // namespace

bool MountSmallDisk(const std::string& directory, std::int64_t bytes) {
  const std::string size = "size=" + std::to_string(bytes);
  return (unshare(CLONE_NEWNS) == 0 || BecomeOwnRoot()) &&
         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("none", directory.c_str(), "tmpfs", 0, size.c_str()) == 0;
}
