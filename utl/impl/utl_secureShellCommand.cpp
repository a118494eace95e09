#include "utl/impl/utl_findShellCommand.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_shellCommand.h"

namespace {

// The line that the exception reports, wherever in this file it is thrown.
constexpr int kFailureLine = 42;

}  // namespace

cow_String utl_secureShellCommandOn(const cow_String& platform) {
  return utl_findShellCommand(platform, {"ssh",
                                         {"ssh"},
                                         {"/usr/bin"},
                                         "Cannot find secure shell command",
                                         "utl/impl/utl_secureShellCommand",
                                         kFailureLine});
}

cow_String secureShellCommand() {
  return utl_secureShellCommandOn(utl_getPlatform());
}
