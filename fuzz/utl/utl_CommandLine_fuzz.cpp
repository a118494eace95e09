// Argument lists of any kind, a line an argument: every query gives an answer or one of
// its stated exceptions.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/common/TakeLine.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Line = thr_GlobalSingleton<utl_CommandLine>;
  Line::Destroy();
  cow_1DArrayList<cow_String> arguments;
  for (std::string_view rest(reinterpret_cast<const char*>(data), size); !rest.empty();) {
    arguments.Append(TakeLine(rest));
  }
  utl_CommandLineLoader::SetArgsList(arguments);
  const utl_CommandLine& line = Line::Instance();
  for (int i = 0; i < line.Size(); ++i) {
    const cow_String argument = line.ConstGet(i);
    const cow_String name = argument.Substr(1, argument.Length());
    line.ConstGetValue(name, "");
    try {
      line.ConstGetValueAsDictionary(name);
      line.ConstGetValueAsSizeT(name);
    } catch (const utl_MissingCmdLineArgException&) {
    } catch (const utl_CmdLineArgFormatException&) {
    }
  }
  return 0;
}
