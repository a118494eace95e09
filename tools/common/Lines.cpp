#include "common/Lines.h"

#include <filesystem>

#include "common/FileError.h"
#include "utl/utl_NativePath.h"

namespace {

constexpr std::size_t kLongest = 1 << 16;

}  // namespace

Lines::Lines(const std::string& path) : path_(path) {
  const std::filesystem::path native = utl_nativePath(path);
  in_.open(native, std::ios::binary);
  if (!in_ || std::filesystem::is_directory(native)) {
    throw FileError(path, "cannot be read");
  }
}

bool Lines::Next(std::string& line) {
  line.clear();
  ++number_;
  using Traits = std::char_traits<char>;
  std::streambuf& bytes = *in_.rdbuf();
  for (int next = bytes.sbumpc(); next != Traits::eof(); next = bytes.sbumpc()) {
    if (next == '\n') {
      if (line.ends_with('\r')) {
        line.pop_back();
      }
      return true;
    }
    if (line.size() == kLongest) {
      Fail("is longer than any line of such a file");
    }
    line += Traits::to_char_type(next);
  }
  isCut_ = !line.empty();
  return false;
}

void Lines::Fail(const std::string& text) const {
  throw FileError(path_, "line " + std::to_string(number_) + ": " + text);
}
