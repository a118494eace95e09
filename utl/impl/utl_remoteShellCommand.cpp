#include "utl/impl/utl_findShellCommand.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_shellCommand.h"

namespace {

// The line that the exception reports, wherever in this file it is thrown.
constexpr int kFailureLine = 44;

}  // namespace

cow_String utl_remoteShellCommandOn(const cow_String& platform) {
  return utl_findShellCommand(platform, {"rsh",
                                         {"remsh", "rsh"},
                                         {"/usr/bin", "usr/bsd", "usr/net", "usr/ucb"},
                                         "Cannot find remote shell command",
                                         "utl/impl/utl_remoteShellCommand",
                                         kFailureLine});
}

cow_String remoteShellCommand() {
  return utl_remoteShellCommandOn(utl_getPlatform());
}
