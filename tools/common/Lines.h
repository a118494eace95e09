#pragma once

#include <charconv>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

/// Reads a text file line by line. A file that is no text costs no more memory than the
/// longest line that may be.
///
///     Lines lines(path);
///     std::string line;
///     while (lines.Next(line)) { ... lines.Fail("is no mark"); ... }
class Lines {
 public:
  /// Throws FileError if the file cannot be read.
  explicit Lines(const std::string& path);

  /// The next line without its end, LF or CR LF; false at the end of the file, and for a
  /// last line without an end, which is one that was cut off.
  bool Next(std::string& line);

  /// Whether the file's last line was cut off. Known once `Next` was false.
  bool IsCut() const { return isCut_; }

  /// The number of the last line, from 1 on; once `Next` was false, of the line that is
  /// cut off or not there.
  std::int64_t Number() const { return number_; }

  /// Throws the FileError "PATH: line N: TEXT", N being that of the last line.
  [[noreturn]] void Fail(const std::string& text) const;

 private:
  std::string path_;
  std::ifstream in_;
  std::int64_t number_ = 0;
  bool isCut_ = false;
};

/// Takes the number behind the last `separator` off the end of the text, with the
/// separator. Nothing, and the text stays, where there is no separator or no number.
template <class T>
std::optional<T> TakeLast(std::string_view& text, std::string_view separator) {
  const std::size_t at = text.rfind(separator);
  if (at == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view field = text.substr(at + separator.size());
  T value{};
  const auto [end, error] =
      std::from_chars(field.data(), field.data() + field.size(), value);
  if (error != std::errc() || end != field.data() + field.size() || value != value) {
    return std::nullopt;
  }
  text.remove_suffix(text.size() - at);
  return value;
}
