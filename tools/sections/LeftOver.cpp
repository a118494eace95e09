#include "sections/LeftOver.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "common/FileError.h"
#include "sections/SectionFile.h"
#include "utl/utl_NativePath.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSharingViolation = 32;

// The number of the process in the name of a temporary file of `file`; nothing for other
// names.
std::optional<std::uint32_t> ProcessIn(const std::string& name, const std::string& file) {
  constexpr std::string_view kEnding = ".tmp";
  if (!name.starts_with(file + '.') || !name.ends_with(kEnding) ||
      name.size() <= file.size() + 1 + kEnding.size()) {
    return std::nullopt;
  }
  const char* const end = name.data() + name.size() - kEnding.size();
  std::uint32_t process = 0;
  const auto [rest, error] = std::from_chars(name.data() + file.size() + 1, end, process);
  return error == std::errc() && rest == end ? std::optional(process) : std::nullopt;
}

}  // namespace

LeftOver FindLeftOver(const std::string& file) {
  const fs::path native = utl_nativePath(file);
  if (!fs::exists(native)) {
    throw FileError(file, "is not there");
  }
  LeftOver found;
  fs::path lock = native;
  lock += ".lock";
  if (fs::exists(lock)) {
    found.lock = lock;
  }
  const fs::path directory = native.has_parent_path() ? native.parent_path() : ".";
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    const std::optional<std::uint32_t> process =
        ProcessIn(entry.path().filename().string(), native.filename().string());
    // A save makes a file. A link of that name was put there by somebody else.
    if (process && fs::is_regular_file(entry.symlink_status())) {
      found.temporary.push_back(
          {entry.path(), *process, utl_findProcess(*process),
           IsWholeSectionFile(std::string(utl_fromNativePath(entry.path())))});
    }
  }
  std::sort(found.temporary.begin(), found.temporary.end(),
            [](const Temporary& one, const Temporary& other) {
              return fs::last_write_time(one.path) > fs::last_write_time(other.path);
            });
  return found;
}

bool IsInUse(const std::string& file) {
  const cow_String refusal =
      utl_FileExceptionOpen(kSharingViolation, file, "CreateFile in OpenUpdate")
          .AsString()
          .c_str();
  try {
    utl_File(file, utl_FileAccessUpdate, utl_FileShareDefault).Init();
    return false;
  } catch (const utl_FileExceptionOpen& error) {
    if (refusal == error.AsString().c_str()) {
      return true;
    }
    throw;
  }
}
