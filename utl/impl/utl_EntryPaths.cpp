#include "utl/impl/utl_EntryPaths.h"

#include <string_view>
#include <utility>

#include "utl/impl/text/utl_PathText.h"

namespace {

// A name that holds none of these is not changed when its path is resolved.
bool MayChange(char c) {
  return c == '%' || c == '$' || c == '/' || c == '\\';
}

// A call of memcmp would take longer than most extensions do.
bool AreEqual(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i]) {
      return false;
    }
  }
  return true;
}

}  // namespace

utl_EntryPaths::utl_EntryPaths(cow_String prefix) : prefix_(std::move(prefix)) {
  const std::string_view text = prefix_;
  prefixIsFinal_ = utl_isAbsoluteName(text) && text.ends_with('\\') &&
                   text.find_first_of("%$/") == std::string_view::npos;
}

utl_FilePath utl_EntryPaths::Make(const char* name) {
  const char* end = name;
  const char* dot = nullptr;
  for (; *end != '\0'; ++end) {
    if (MayChange(*end)) {
      return {prefix_ + name, ""};
    }
    if (*end == '.') {
      dot = end;
    }
  }
  if (!prefixIsFinal_ || end == name) {
    return {prefix_ + name, ""};
  }

  if (dot == nullptr) {
    dot = end;
  }
  const std::string_view extension(dot, static_cast<std::size_t>(end - dot));
  if (!AreEqual(extension, extension_)) {
    extension_ = cow_String(extension);
  }
  return utl_FilePath::FromParts(
      "", prefix_, cow_String(name, static_cast<int>(dot - name)), extension_);
}
