#include "utl/utl_JobFileName.h"

#include "platform/platform.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_FilePath.h"

// NOLINTNEXTLINE(performance-unnecessary-value-param): clients link to this form.
cow_String utl_JobFileName(cow_String suffix) {
  utl_CommandLine& commandLine = thr_GlobalSingleton<utl_CommandLine>::Instance();
  const char* auxiliary = platform::Environment("SUPAUXNAME");
  const bool isAuxiliary = auxiliary != nullptr && auxiliary[0] != ' ';
  const cow_String name =
      isAuxiliary ? cow_String(auxiliary) : commandLine.ConstGetValue("job");
  return utl_FilePath(name + suffix, commandLine.ConstGetValue("outdir", ""))
      .AbsolutePathName();
}
