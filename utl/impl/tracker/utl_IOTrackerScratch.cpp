#include "utl/impl/tracker/utl_IOTrackerScratch.h"

#include "utl/impl/text/utl_comparablePath.h"

utl_IOTrackerScratch::utl_IOTrackerScratch(std::string_view directory)
    : directory_(directory.empty() ? std::string() : utl_comparablePath(directory)) {}

bool utl_IOTrackerScratch::Holds(std::string_view path) const {
  if (directory_.empty()) {
    return false;
  }
  const std::string file = utl_comparablePath(path);
  return file.size() > directory_.size() && file.starts_with(directory_);
}
