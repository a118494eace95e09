#pragma once

#include <initializer_list>

#include "cow/cow_String.h"

/// What to look for where the platform is not Windows, and how to fail.
struct utl_ShellSearch {
  const char* windowsCommand;
  std::initializer_list<const char*> commands;
  std::initializer_list<const char*> directories;
  const char* failureText;
  const char* sourceFile;
  int sourceLine;
};

/// The command for the platform of this name: tests use others than the one that
/// utl_getPlatform always returns.
cow_String utl_findShellCommand(const cow_String& platform,
                                const utl_ShellSearch& search);

/// The searches of remoteShellCommand and secureShellCommand.
cow_String utl_remoteShellCommandOn(const cow_String& platform);
cow_String utl_secureShellCommandOn(const cow_String& platform);
