#include "utl/utl_PathFinder.h"

#include <algorithm>
#include <string_view>

#include "platform/platform.h"
#include "utl/utl_FilePath.h"

namespace {

cow_String Candidate(std::string_view directory, const cow_String& subDirectory,
                     const cow_String& name) {
  cow_String candidate(directory);
  if (name[0] != '/') {
    candidate += '/';
  }
  if (!subDirectory.IsEmpty()) {
    candidate += subDirectory + '/';
  }
  return candidate + name;
}

}  // namespace

cow_String utl_PathFinder::getSubDirPath(const cow_String& variable,
                                         const cow_String& subDirectory,
                                         const cow_String& name, bool mustBeReadable,
                                         bool tryExe, bool withoutExe) {
  const char* value = platform::Environment(variable.c_str());
  if (value == nullptr || name.IsEmpty()) {
    return {};
  }

  std::string_view list = value;
  while (!list.empty()) {
    const std::string_view directory = list.substr(0, list.find(';'));
    list.remove_prefix(std::min(directory.size() + 1, list.size()));
    if (directory.empty()) {
      continue;
    }

    const cow_String plain = Candidate(directory, subDirectory, name);
    const cow_String exe = plain + ".exe";
    for (const cow_String* candidate : {&plain, &exe}) {
      if (candidate == &exe && !tryExe) {
        continue;
      }
      const utl_FilePath path(*candidate, "");
      if (!path.Exists()) {
        continue;
      }
      if (mustBeReadable && !path.IsReadable()) {
        return {};
      }
      return withoutExe ? plain : *candidate;
    }
  }
  return {};
}

cow_String utl_PathFinder::getPath(const cow_String& variable, const cow_String& name,
                                   bool mustBeReadable, bool tryExe, bool /*extraFlag*/) {
  return getSubDirPath(variable, "", name, mustBeReadable, tryExe, false);
}
