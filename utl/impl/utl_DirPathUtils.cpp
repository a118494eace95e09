#include "utl/utl_DirPathUtils.h"

#include "utl/impl/text/utl_PathText.h"
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
  return std::string_view(path).ends_with('\\') ? path.Substr(0, path.Length() - 1)
                                                : path;
}

cow_String utl_DirPathUtils::AddSeparator(const cow_String& path) {
  cow_String result = path;
  utl_addSeparator(result);
  return result;
}
