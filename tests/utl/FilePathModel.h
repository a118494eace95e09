#pragma once

#include <algorithm>
#include <cctype>
#include <functional>
#include <string>

#include "utl/utl_FilePath.h"

/// The rules by which a path is resolved, coded a second time.
class FilePathModel {
 public:
  using string = std::string;

  /// Both texts with references to the environment replaced. `current` is the current
  /// directory; `ofDrive` gives that of a drive, "" for one that there is not.
  FilePathModel(const string& name, const string& directory, const string& current,
                std::function<string(char letter)> ofDrive)
      : name_(name), given_(directory), current_(current), ofDrive_(std::move(ofDrive)) {
    Resolve();
  }

  static string WithBackslashes(string text) {
    std::replace(text.begin(), text.end(), '/', '\\');
    return text;
  }

  bool Agrees(const utl_FilePath& path) const {
    const string component = baseName_ + extension_;
    return path.PathName() == subdirectory_ + component && path.BaseName() == baseName_ &&
           path.Extension() == extension_ && path.FileName() == component &&
           path.AbsoluteDirectoryPath() == Joined() &&
           path.AbsolutePathName() == Joined() + component;
  }

  string AbsolutePathName() const { return Joined() + baseName_ + extension_; }

 private:
  static bool LetterAndColon(const string& s) {
    return s.length() > 1 && std::isalpha(static_cast<unsigned char>(s[0])) != 0 &&
           s[1] == ':';
  }

  // The character at `i` as a class: a backslash, a colon, the end, anything else.
  static char Kind(const string& s, std::size_t i) {
    if (i >= s.length()) {
      return '$';
    }
    return s[i] == '\\' || s[i] == ':' ? s[i] : 'x';
  }

  static bool StartsLike(const string& s, char first, char second, char third) {
    const auto fits = [&](std::size_t i, char kind) {
      return kind == '*' ? i < s.length() : Kind(s, i) == kind;
    };
    return fits(0, first) && fits(1, second) && fits(2, third);
  }

  static bool Rooted(const string& s) {
    const bool host = StartsLike(s, '\\', '\\', 'x') || StartsLike(s, '\\', '\\', ':');
    return host || (LetterAndColon(s) && Kind(s, 2) == '\\');
  }

  static string Closed(const string& directory) {
    return !directory.empty() && directory.back() == '\\' ? directory : directory + "\\";
  }

  void Resolve() {
    if (name_.empty() || name_ == ".") {
      const bool none = given_.empty() || given_ == ".";
      directory_ = Closed(none ? current_ : given_);
      return;
    }
    if (!Rooted(name_) && !StartsLike(name_, '\\', 'x', '*')) {
      Place();
    }
    CutEnd();
    while (name_.find('\\') != string::npos) {
      subdirectory_ += name_.substr(0, name_.find('\\') + 1);
      name_.erase(0, name_.find('\\') + 1);
    }
    if (!subdirectory_.empty() && name_.empty()) {
      name_ = ".";
    }
    if (std::count(name_.begin(), name_.end(), '.') > 0) {
      const std::size_t dot = name_.find_last_of('.');
      extension_ = name_.substr(dot);
      name_.erase(dot);
    }
    baseName_ = name_;
  }

  string Anchor() const {
    if (Rooted(given_)) {
      return given_;
    }
    if (LetterAndColon(given_)) {
      return Kind(name_, 0) == '\\' ? given_.substr(0, 2) : ofDrive_(given_[0]);
    }
    if (Kind(given_, 0) == '\\' && Kind(given_, 1) != '\\') {
      return current_.substr(0, 2) + given_;
    }
    return current_;
  }

  void Place() {
    if (LetterAndColon(name_)) {
      directory_ = ofDrive_(name_[0]);
      name_.erase(0, 2);
    } else {
      directory_ = Anchor();
      const bool separated = Kind(name_, 0) == '\\';
      while (Kind(name_, 0) == '\\') {
        name_.erase(0, 1);
      }
      if (separated && name_.empty()) {
        name_ = "\\";
      }
    }
    if (!directory_.empty()) {
      directory_ = Closed(directory_);
    }
  }

  void CutEnd() {
    if (LetterAndColon(name_) && name_.length() == 2) {
      name_ += '\\';
    } else if (!(name_.length() == 3 && LetterAndColon(name_))) {
      while (name_.length() > 1 && name_.back() == '\\') {
        name_.pop_back();
      }
    }
  }

  string Joined() const {
    string directory = directory_;
    if (!subdirectory_.empty() && subdirectory_[0] == '\\') {
      while (!directory.empty() && directory.back() == '\\') {
        directory.pop_back();
      }
    }
    return directory + subdirectory_;
  }

  string name_, given_, current_;
  std::function<string(char)> ofDrive_;
  string directory_, subdirectory_, baseName_, extension_;
};
