#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// The command that runs a command on another host: "rsh". Stateless.
///
/// Where utl_getPlatform names a platform that is not Windows, the first of remsh and rsh
/// that is executable in /usr/bin, usr/bsd, usr/net or usr/ucb (the last three relative
/// to the current directory) is sought. As utl_FilePath takes only ".exe" and ".bat" for
/// executable, that search ends in the exception.
/// Throws nex_TextException "Cannot find remote shell command".
KSTUTL_EXPORT cow_String remoteShellCommand();

/// The same for a secure connection: "ssh", elsewhere sought in /usr/bin.
/// Throws nex_TextException "Cannot find secure shell command".
KSTUTL_EXPORT cow_String secureShellCommand();
