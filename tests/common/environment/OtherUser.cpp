#include "common/environment/OtherUser.h"

#include <fstream>

#include "common/child/ChildProcess.h"

namespace {

constexpr int kMayRead = 0;
constexpr int kMayNotRead = 1;
constexpr int kNoOtherUser = 2;

TEST_CHILD(readAsOtherUser) {
  if (!BecomeOtherUser()) {
    return kNoOtherUser;
  }
  return std::ifstream(argv[1]).is_open() ? kMayRead : kMayNotRead;
}

}  // namespace

std::optional<bool> OtherUserMayRead(const std::string& path) {
  const int result = ChildProcess::Start("readAsOtherUser", {path}).Wait();
  if (result == kNoOtherUser) {
    return std::nullopt;
  }
  return result == kMayRead;
}
