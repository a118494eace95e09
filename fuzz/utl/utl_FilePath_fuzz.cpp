// Names, directories and environments of any kind: a line with the name, one with the
// directory, then values of variables that both may refer to. Paths are those of the
// rules coded a second time, and asking about them throws nothing.

#include <windows.h>

#include <direct.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/environment/ScopedEnvironment.h"
#include "fuzz/common/Require.h"
#include "fuzz/common/TakeLine.h"
#include "platform/platform.h"
#include "utl/FilePathModel.h"
#include "utl/impl/text/utl_expandEnvironment.h"
#include "utl/text/EnvironmentModel.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_UrlParser.h"

namespace {

// Variables that refer to themselves are expanded a thousand times, for which the model
// takes quadratic time.
constexpr int kMostLookUps = 100;
int lookUps;

char* LookUp(const char* name) {
  return ++lookUps > kMostLookUps ? nullptr : platform::Environment(name);
}

std::string CurrentOfDrive(char letter) {
  char path[260];
  const int number = std::toupper(static_cast<unsigned char>(letter)) - 'A' + 1;
  return _getdcwd(number, path, sizeof path) != nullptr ? path : "";
}

std::string Expanded(const cow_String& text) {
  const std::string before = FilePathModel::WithBackslashes(std::string(text));
  cow_String after(before);
  utl_expandEnvironment(after, LookUp);
  Require(lookUps > kMostLookUps ||
          EnvironmentModel(platform::Environment).Expanded(before) == std::string(after));
  return std::string(after);
}

bool IsPlain(const cow_String& text) {
  return !utl_UrlParser::IsUrl(text) &&
         !std::string_view(text).starts_with("Network connectors");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const cow_String name = TakeLine(input);
  const cow_String directory = TakeLine(input);
  for (const char* variable : {"KA", "KAB", "K_1"}) {
    SetEnvironment(variable, TakeLine(input).Substr(0, 20).c_str());
  }
  lookUps = 0;
  const std::string expandedName = Expanded(name);
  const std::string expandedDirectory = Expanded(directory);
  if (lookUps > kMostLookUps) {
    return 0;
  }
  const utl_FilePath path(name, directory);
  path.Exists();
  path.IsReadable();
  path.IsExecutable();
  path.IsDir();
  if (IsPlain(name) && IsPlain(directory)) {
    Require(FilePathModel(expandedName, expandedDirectory, std::string(utl_getcwd()),
                          CurrentOfDrive)
                .Agrees(path));
  } else {
    Require(path.PathName() == path.AbsolutePathName());
  }
  return 0;
}
