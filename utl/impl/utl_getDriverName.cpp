
#include "atr/atr_translate.h"
#include "nex/nex_TextException.h"
#include "platform/platform.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_hostInfo.h"

cow_String utl_getDriverName() {
  const char* command = platform::Environment("KES_COMMAND");
  if (command == nullptr) {
    nex_TextException(atr_translate("Failed to determine driver name").Result())
        .Throw("utl/impl/utl_getDriverName");
  }
  const cow_String name = utl_FilePath(command, "").Portable().BaseName();
  return name == "launcher" ? cow_String("kst") : name;
}
