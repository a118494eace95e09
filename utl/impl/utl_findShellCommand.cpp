#include "utl/impl/utl_findShellCommand.h"

#include "atr/atr_translate.h"
#include "nex/nex_TextException.h"
#include "utl/utl_FilePath.h"

cow_String utl_findShellCommand(const cow_String& platform,
                                const utl_ShellSearch& search) {
  if (platform == "nt" || platform == "win86_64") {
    return search.windowsCommand;
  }
  for (const char* command : search.commands) {
    for (const char* directory : search.directories) {
      cow_String candidate = cow_String(directory) + "/" + command;
      const utl_FilePath path(candidate, "");
      if (path.Exists() && path.IsExecutable()) {
        return candidate;
      }
    }
  }
  nex_TextException(atr_translate(search.failureText).Result())
      .Throw(search.sourceFile, search.sourceLine);
}
