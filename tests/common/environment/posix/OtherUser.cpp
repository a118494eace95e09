#include "common/environment/OtherUser.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t kNobody = 65534;

}  // namespace

bool BecomeOtherUser() {
  return geteuid() != 0 || (setgid(kNobody) == 0 && setuid(kNobody) == 0);
}

bool GiveToOtherUser(const std::string& path) {
  return chown(path.c_str(), kNobody, kNobody) == 0;
}

void ForbidCreation(const std::string& directory) {
  chmod(directory.c_str(), 0555);
}

void AllowCreation(const std::string& directory) {
  chmod(directory.c_str(), 0755);
}
