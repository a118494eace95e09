#pragma once

#include <algorithm>
#include <cctype>
#include <ostream>
#include <string>
#include <utility>

#include "utl/utl_FilePathParser.h"

/// Everything that utl_FilePathParser answers of one path.
struct ParsedPath {
  bool isWindows, isUnix, hasDrive;
  char drive;
  bool hasHost;
  std::string host;
  bool hasDirName;
  std::string dirName;
  bool hasBaseName;
  std::string baseName;
  bool hasExtension;
  std::string extension;

  bool operator==(const ParsedPath&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const ParsedPath& p) {
    return out << "windows " << p.isWindows << ", unix " << p.isUnix << ", drive "
               << p.hasDrive << " " << int(p.drive) << ", host " << p.hasHost << " '"
               << p.host << "', dir " << p.hasDirName << " '" << p.dirName << "', base "
               << p.hasBaseName << " '" << p.baseName << "', extension " << p.hasExtension
               << " '" << p.extension << "'";
  }
};

/// What utl_FilePathParser answers of `path`.
inline ParsedPath Parsed(const cow_String& path) {
  using Parser = utl_FilePathParser;
  return {Parser::IsWindowsStyle(path), Parser::IsUnixStyle(path),
          Parser::HasDrive(path),       Parser::Drive(path),
          Parser::HasHost(path),        std::string(Parser::Host(path)),
          Parser::HasDirName(path),     std::string(Parser::DirName(path)),
          Parser::HasBaseName(path),    std::string(Parser::BaseName(path)),
          Parser::HasExtension(path),   std::string(Parser::Extension(path))};
}

/// The rules of utl_FilePathParser coded a second time, character by character and on
/// std::string.
class FilePathParserModel {
 public:
  explicit FilePathParserModel(std::string path) : path_(std::move(path)) {}

  ParsedPath All() const {
    const bool isWindows = Windows(), isUnix = Unix();
    const bool either = isWindows || isUnix;
    const std::string last = LastComponent();
    const std::size_t dot = last.find_last_of('.');
    const bool hasDot = dot != std::string::npos;
    ParsedPath parts{};
    parts.isWindows = isWindows;
    parts.isUnix = isUnix;
    parts.drive = Drive();
    parts.hasDrive = isWindows && parts.drive != 0;
    parts.host = Host();
    parts.hasHost = isWindows && !parts.host.empty();
    parts.hasDirName = either && Separator() >= 0;
    if (Separator() >= 0) {
      parts.dirName = Searched().substr(0, static_cast<std::size_t>(Separator()));
    }
    parts.hasBaseName = either && (hasDot ? dot > 0 : last.length() > 0);
    parts.baseName = hasDot ? last.substr(0, dot) : last;
    parts.hasExtension = either && hasDot;
    parts.extension = hasDot ? last.substr(dot + 1) : "";
    return parts;
  }

 private:
  bool Windows() const {
    for (char c : std::string(path_.c_str())) {  // NOLINT: up to a zero byte
      if (std::string("<>\"/|").find(c) != std::string::npos) {
        return false;
      }
      if (c > 0 && c < 32) {
        return false;
      }
    }
    return true;
  }
  bool Unix() const {
    if (std::count(path_.begin(), path_.end(), '/') > 0) {
      return true;
    }
    if (std::count(path_.begin(), path_.end(), '\\') > 0) {
      return false;
    }
    return Drive() == 0;
  }
  char Drive() const {
    if (path_.length() < 2 || path_[1] != ':') {
      return 0;
    }
    const int letter = path_[0] & 127;
    return std::isalpha(letter) ? static_cast<char>(std::tolower(letter)) : '\0';
  }
  std::string Host() const {
    if (path_.substr(0, 2) != "\\\\") {
      return "";
    }
    for (std::size_t i = 2; i < path_.length(); ++i) {
      if (path_[i] == '\\') {
        return path_.substr(2, i - 2);
      }
    }
    return "";
  }
  std::string Searched() const {
    if (!Windows()) {
      return path_;
    }
    if (path_.length() >= 2 && path_[1] == ':' && path_[0] > 0 &&
        std::isalpha(path_[0])) {
      return path_.substr(2);
    }
    if (path_.substr(0, 2) == "\\\\" &&
        std::count(path_.begin() + 2, path_.end(), '\\') > 0) {
      return path_.substr(2 + Host().length());
    }
    return path_;
  }
  int Separator() const {
    const std::string text = Searched();
    const char separator = Windows() ? '\\' : '/';
    int last = -1;
    for (int i = 0; i < static_cast<int>(text.length()); ++i) {
      if (text[static_cast<std::size_t>(i)] == separator) {
        last = i;
      }
    }
    return last;
  }
  std::string LastComponent() const {
    return Searched().substr(static_cast<std::size_t>(Separator()) + 1);
  }

  std::string path_;
};
