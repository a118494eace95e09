#include "compare/Show.h"

#include <cmath>
#include <cstddef>

namespace {

constexpr std::size_t kLongest = 400;

template <class Real>
std::string ShownReal(Real value) {
  // A not-a-number's sign is the compiler's choice.
  if (std::isnan(value)) {
    return "nan";
  }
  char text[40];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string Escaped(std::string_view text) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte < 0x7F) {
      escaped += c;
    } else {
      escaped += {'\\', 'x', kDigits[byte / 16], kDigits[byte % 16]};
    }
  }
  return escaped;
}

}  // namespace

std::uint64_t Checksum(std::string_view bytes) {
  std::uint64_t sum = 0xCBF29CE484222325;
  for (const char c : bytes) {
    sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  }
  return sum;
}

std::string Shown(std::string_view text) {
  if (text.size() <= kLongest) {
    return '"' + Escaped(text) + '"';
  }
  return '"' + Escaped(text.substr(0, kLongest)) + "\"... (" + Shown(text.size()) +
         " bytes, sum " + Shown(Checksum(text)) + ")";
}

std::string Shown(double value) {
  return ShownReal(value);
}
std::string Shown(float value) {
  return ShownReal(value);
}

std::string Shown(const utl_FilePath& path) {
  return "{" +
         ShownAll(path.PathName(), path.AbsolutePathName(), path.AbsoluteDirectoryPath(),
                  path.FileName(), path.BaseName(), path.Extension()) +
         "}";
}
