#include "utl/utl_FilePathParser.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <string_view>

#include "utl/impl/text/utl_PathText.h"

namespace {

constexpr std::size_t kHostStartLength = 2;

bool IsForbiddenInWindowsName(char c) {
  return (c >= 1 && c <= 31) || c == '<' || c == '>' || c == '"' || c == '/' || c == '|';
}

using Bytes = __m128i;

Bytes Load(const char* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(bytes));
}

Bytes Equal(Bytes bytes, char c) {
  return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c));
}

// A bit for each byte that is forbidden or zero.
int ForbiddenOrZero(Bytes bytes) {
  const Bytes control = Equal(_mm_subs_epu8(bytes, _mm_set1_epi8(31)), 0);
  const Bytes angle = Equal(_mm_or_si128(bytes, _mm_set1_epi8('<' ^ '>')), '>');
  const Bytes others = _mm_or_si128(Equal(bytes, '"'), Equal(bytes, '|'));
  return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(control, angle),
                                        _mm_or_si128(others, Equal(bytes, '/'))));
}

// Whether there is one in a path of 16 bytes or more. The last 16 may be tested twice.
bool HasForbiddenOrZero(std::string_view path) {
  int found = ForbiddenOrZero(Load(&path[path.size() - sizeof(Bytes)]));
  for (std::size_t i = 0; i + sizeof(Bytes) < path.size(); i += sizeof(Bytes)) {
    found |= ForbiddenOrZero(Load(&path[i]));
  }
  return found != 0;
}

bool IsWindows(std::string_view path) {
  if (path.starts_with('/')) {
    return false;
  }
  if (path.size() >= sizeof(Bytes) && !HasForbiddenOrZero(path)) {
    return true;
  }
  path = path.substr(0, path.find('\0'));
  return std::none_of(path.begin(), path.end(), IsForbiddenInWindowsName);
}

// As text.rfind(c), which goes byte by byte.
std::size_t FindLast(std::string_view text, char c) {
  while (text.size() >= sizeof(Bytes)) {
    const std::size_t start = text.size() - sizeof(Bytes);
    const auto found =
        static_cast<unsigned>(_mm_movemask_epi8(Equal(Load(&text[start]), c)));
    if (found != 0) {
      return start + static_cast<std::size_t>(std::bit_width(found)) - 1;
    }
    text.remove_suffix(sizeof(Bytes));
  }
  return text.rfind(c);
}

char DriveLetter(std::string_view path) {
  if (path.size() < 2) {
    return '\0';
  }
  const char start[] = {static_cast<char>(path[0] & 0x7F), path[1]};
  return utl_hasDrive({start, sizeof start}) ? utl_smallLetter(start[0]) : '\0';
}

// Where the host of a path ends, or npos: only a third backslash ends it.
std::size_t HostEnd(std::string_view path) {
  return utl_hasHostStart(path) ? path.find('\\', kHostStartLength)
                                : std::string_view::npos;
}

std::string_view HostName(std::string_view path) {
  const std::size_t end = HostEnd(path);
  if (end == std::string_view::npos) {
    return {};
  }
  return path.substr(kHostStartLength, end - kHostStartLength);
}

bool IsUnix(std::string_view path) {
  if (path.find('/') != std::string_view::npos) {
    return true;
  }
  if (path.find('\\') != std::string_view::npos) {
    return false;
  }
  return DriveLetter(path) == '\0';  // no backslash, so no host
}

// The path after its drive or host. Unlike DriveLetter this does not ignore the letter's
// top bit.
inline std::string_view WithoutRoot(std::string_view path) {
  if (utl_hasDrive(path)) {
    return path.substr(2);
  }
  const std::size_t end = HostEnd(path);
  return end == std::string_view::npos ? path : path.substr(end);
}

// A path in the style by which it is read: the text that is searched for separators, and
// the position of the last one (npos: none).
struct Read {
  std::string_view text;
  std::size_t separator;

  explicit Read(std::string_view path) {
    const bool windows = IsWindows(path);
    text = windows ? WithoutRoot(path) : path;
    separator = FindLast(text, windows ? '\\' : '/');
  }

  bool HasSeparator() const { return separator != std::string_view::npos; }
  std::string_view Component() const {
    return HasSeparator() ? text.substr(separator + 1) : text;
  }
};

bool HasStyle(std::string_view path) {
  return IsWindows(path) || IsUnix(path);
}

}  // namespace

bool utl_FilePathParser::IsWindowsStyle(const cow_String& path) {
  return IsWindows(path);
}

bool utl_FilePathParser::IsUnixStyle(const cow_String& path) {
  return IsUnix(path);
}

bool utl_FilePathParser::HasDrive(const cow_String& path) {
  return IsWindows(path) && DriveLetter(path) != '\0';
}

char utl_FilePathParser::Drive(const cow_String& path) {
  return DriveLetter(path);
}

bool utl_FilePathParser::HasHost(const cow_String& path) {
  return IsWindows(path) && !HostName(path).empty();
}

cow_String utl_FilePathParser::Host(const cow_String& path) {
  return cow_String(HostName(path));
}

bool utl_FilePathParser::HasDirName(const cow_String& path) {
  return HasStyle(path) && Read(path).HasSeparator();
}

cow_String utl_FilePathParser::DirName(const cow_String& path) {
  const Read read(path);
  return read.HasSeparator() ? cow_String(read.text.substr(0, read.separator))
                             : cow_String();
}

bool utl_FilePathParser::HasBaseName(const cow_String& path) {
  if (!HasStyle(path)) {
    return false;
  }
  const std::string_view component = Read(path).Component();
  return !component.empty() && component.rfind('.') != 0;
}

cow_String utl_FilePathParser::BaseName(const cow_String& path) {
  const std::string_view component = Read(path).Component();
  return cow_String(component.substr(0, component.rfind('.')));
}

bool utl_FilePathParser::HasExtension(const cow_String& path) {
  return HasStyle(path) && Read(path).Component().find('.') != std::string_view::npos;
}

cow_String utl_FilePathParser::Extension(const cow_String& path) {
  const std::string_view component = Read(path).Component();
  const std::size_t dot = component.rfind('.');
  return dot == std::string_view::npos ? cow_String()
                                       : cow_String(component.substr(dot + 1));
}
