// The rules by which a path is resolved, coded a second time.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/utl_FilePath.h"

namespace {

using std::string;

struct Parts {
  string directory, subdirectory, baseName, extension;
};

bool LetterAndColon(const string& s) {
  return s.length() > 1 && std::isalpha(static_cast<unsigned char>(s[0])) && s[1] == ':';
}

// The character at `i` as a class: a backslash, a colon, the end, anything else.
char Kind(const string& s, std::size_t i) {
  if (i >= s.length()) {
    return '$';
  }
  return s[i] == '\\' || s[i] == ':' ? s[i] : 'x';
}

bool StartsLike(const string& s, char first, char second, char third) {
  const auto fits = [&](std::size_t i, char kind) {
    return kind == '*' ? i < s.length() : Kind(s, i) == kind;
  };
  return fits(0, first) && fits(1, second) && fits(2, third);
}

bool Rooted(const string& s) {
  const bool host = StartsLike(s, '\\', '\\', 'x') || StartsLike(s, '\\', '\\', ':');
  return host || (LetterAndColon(s) && Kind(s, 2) == '\\');
}

// Resolves while the current directory is `current`, on drive Z, the only one.
class Model {
 public:
  Model(string name, string directory, string current)
      : name_(std::move(name)),
        given_(std::move(directory)),
        current_(std::move(current)) {
    for (string* text : {&name_, &given_}) {
      for (char& c : *text) {
        c = c == '/' ? '\\' : c;
      }
    }
  }

  Parts Resolve() {
    if (name_.empty() || name_ == ".") {
      const bool none = given_.empty() || given_ == ".";
      return {Closed(none ? current_ : given_), "", "", ""};
    }
    if (!Rooted(name_) && !StartsLike(name_, '\\', 'x', '*')) {
      Place();
    }
    CutEnd();
    Parts parts{parts_.directory, "", "", ""};
    while (name_.find('\\') != string::npos) {
      parts.subdirectory += name_.substr(0, name_.find('\\') + 1);
      name_.erase(0, name_.find('\\') + 1);
    }
    if (!parts.subdirectory.empty() && name_.empty()) {
      name_ = ".";
    }
    if (std::count(name_.begin(), name_.end(), '.') > 0) {
      const std::size_t dot = name_.find_last_of('.');
      parts.extension = name_.substr(dot);
      name_.erase(dot);
    }
    parts.baseName = name_;
    return parts;
  }

 private:
  static string Closed(string directory) {
    return !directory.empty() && directory.back() == '\\' ? directory : directory + "\\";
  }
  string OfDrive(char letter) const { return letter == 'Z' ? current_ : ""; }

  string Anchor() const {
    if (Rooted(given_)) {
      return given_;
    }
    if (LetterAndColon(given_)) {
      return Kind(name_, 0) == '\\' ? given_.substr(0, 2) : OfDrive(given_[0]);
    }
    if (Kind(given_, 0) == '\\' && Kind(given_, 1) != '\\') {
      return "Z:" + given_;
    }
    return current_;
  }

  void Place() {
    if (LetterAndColon(name_)) {
      parts_.directory = OfDrive(name_[0]);
      name_.erase(0, 2);
    } else {
      parts_.directory = Anchor();
      const bool separated = Kind(name_, 0) == '\\';
      while (Kind(name_, 0) == '\\') {
        name_.erase(0, 1);
      }
      if (separated && name_.empty()) {
        name_ = "\\";
      }
    }
    if (!parts_.directory.empty()) {
      parts_.directory = Closed(parts_.directory);
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

  string name_, given_, current_;
  Parts parts_;
};

std::vector<string> EveryStringUpTo(std::size_t longest, const string& alphabet) {
  std::vector<string> all = {""};
  for (std::size_t i = 0; all[i].length() < longest; ++i) {
    for (char c : alphabet) {
      all.push_back(all[i] + c);
    }
  }
  return all;
}

void ExpectModel(const string& name, const string& directory, const string& current) {
  const utl_FilePath path(name.c_str(), directory.c_str());
  const Parts parts = Model(name, directory, current).Resolve();
  string joined = parts.directory;
  if (!parts.subdirectory.empty() && parts.subdirectory[0] == '\\') {
    while (!joined.empty() && joined.back() == '\\') {
      joined.pop_back();
    }
  }
  joined += parts.subdirectory;
  const string component = parts.baseName + parts.extension;
  const bool agrees =
      path.PathName() == parts.subdirectory + component &&
      path.BaseName() == parts.baseName && path.Extension() == parts.extension &&
      path.FileName() == component && path.AbsoluteDirectoryPath() == joined &&
      path.AbsolutePathName() == joined + component;
  ASSERT_TRUE(agrees) << "name '" << name << "', directory '" << directory
                      << "': " << path.AbsolutePathName() << ", expected "
                      << joined + component;
}

TEST(FilePathModelTest, AgreesOnEveryShortNameInEveryShortDirectory) {
  TempDir dir;
  const CurrentDirectory current(dir.Path());
  for (const string& name : EveryStringUpTo(3, "ZQ:\\/.")) {
    for (const string& directory : EveryStringUpTo(3, "ZQ:\\.")) {
      ASSERT_NO_FATAL_FAILURE(ExpectModel(name, directory, dir.ShownPath()));
    }
  }
  for (const string& name : EveryStringUpTo(5, "Z:\\.")) {
    for (const char* directory : {"", "Z:\\d", "\\d", "Q:"}) {
      ASSERT_NO_FATAL_FAILURE(ExpectModel(name, directory, dir.ShownPath()));
    }
  }
}

}  // namespace
