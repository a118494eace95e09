// Permissions, which count for users other than root. (Under Wine a process cannot change
// its user; what not even root may is tested on both targets.)

#include <string>

#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "platform/PlatformTest.h"

class PermissionsTest : public PlatformTest {};

// Run as a user to whom the permissions of files apply.
TEST_CHILD(openForbidden) {
  if (!BecomeOtherUser()) {
    return 2;
  }
  const std::string dir = argv[1];
  const bool expected =
      OpenCode(dir + "\\readonly", GENERIC_WRITE) == ERROR_ACCESS_DENIED &&
      OpenCode(dir + "\\readonly") == 0 &&
      OpenCode(dir + "\\m", GENERIC_WRITE, kShareAll, CREATE_NEW) == ERROR_ACCESS_DENIED;
  return expected ? 0 : 1;
}

TEST_F(PermissionsTest, AreNeeded) {
  ScopedHandle handle(Open(Name("readonly"), GENERIC_WRITE, kShareAll, CREATE_NEW,
                           FILE_ATTRIBUTE_READONLY));
  handle.Close();
  ForbidCreation(dir_.Path());
  const int result = ChildProcess::Start("openForbidden", {dir_.Path()}).Wait();
  AllowCreation(dir_.Path());
  EXPECT_EQ(result, 0);
}
