#include "common/environment/OtherUser.h"

#include <sys/stat.h>
#include <unistd.h>

bool BecomeOtherUser() {
  constexpr uid_t kNobody = 65534;
  return geteuid() != 0 || (setgid(kNobody) == 0 && setuid(kNobody) == 0);
}

void ForbidCreation(const std::string& directory) {
  chmod(directory.c_str(), 0555);
}

void AllowCreation(const std::string& directory) {
  chmod(directory.c_str(), 0755);
}
