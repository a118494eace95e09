#include "utl/utl_DirPathUtils.h"

#include "utl/utl_Stat.h"

bool utl_DirPathUtils::CheckDirectory(const cow_String& path) {
  try {
    const utl_Stat status(path);
    return status.record != nullptr && status.isDirectory;
  } catch (...) {
    return false;
  }
}

cow_String utl_DirPathUtils::TrimSeparator(const cow_String& path) {
  if (!std::string_view(path).ends_with('\\')) return path;
  return path.Substr(0, path.Length() - 1);
}

cow_String utl_DirPathUtils::AddSeparator(const cow_String& path) {
  if (std::string_view(path).ends_with('\\')) return path;
  return path + "\\";
}
