#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// The command that runs a command on another host: "rsh". Stateless.
///
/// Where utl_getPlatform names a platform that is not Windows, the first of remsh and rsh
/// that is executable in /usr/bin, usr/bsd, usr/net or usr/ucb (the last three relative
/// to the current directory) is taken. As only ".exe" and ".bat" count as executable for
/// utl_FilePath, that search ends in the exception. Throws nex_TextException "Cannot find
/// remote shell command".
KSTUTL_EXPORT cow_String remoteShellCommand();

/// The same for a secure connection: "ssh", elsewhere looked for in /usr/bin. Throws
/// nex_TextException "Cannot find secure shell command".
KSTUTL_EXPORT cow_String secureShellCommand();
