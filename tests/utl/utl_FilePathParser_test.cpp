#include "utl/utl_FilePathParser.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace {

using Parser = utl_FilePathParser;

// Everything that the parser answers of one path.
struct Parts {
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

  bool operator==(const Parts&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Parts& p) {
    return out << "windows " << p.isWindows << ", unix " << p.isUnix << ", drive "
               << p.hasDrive << " " << int(p.drive) << ", host " << p.hasHost << " '"
               << p.host << "', dir " << p.hasDirName << " '" << p.dirName << "', base "
               << p.hasBaseName << " '" << p.baseName << "', extension " << p.hasExtension
               << " '" << p.extension << "'";
  }
};

Parts Parsed(std::string_view text) {
  const cow_String path(text);
  return {Parser::IsWindowsStyle(path), Parser::IsUnixStyle(path),
          Parser::HasDrive(path),       Parser::Drive(path),
          Parser::HasHost(path),        std::string(Parser::Host(path)),
          Parser::HasDirName(path),     std::string(Parser::DirName(path)),
          Parser::HasBaseName(path),    std::string(Parser::BaseName(path)),
          Parser::HasExtension(path),   std::string(Parser::Extension(path))};
}

struct Case {
  std::string path;
  Parts parts;
};

void ExpectAll(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(Parsed(c.path), c.parts) << "path '" << c.path << "'";
  }
}

TEST(FilePathParserTest, SplitsPathsOfBothStyles) {
  ExpectAll({
      {R"(C:\dir\sub\file.tar.gz)",
       {true, false, true, 'c', false, "", true, R"(\dir\sub)", true, "file.tar", true,
        "gz"}},
      {R"(\\server\share\a.txt)",
       {true, false, false, '\0', true, "server", true, R"(\share)", true, "a", true,
        "txt"}},
      {R"(\\server)",
       {true, false, false, '\0', false, "", true, "\\", true, "server", false, ""}},
      {R"(\\\x)", {true, false, false, '\0', false, "", true, "", true, "x", false, ""}},
      {"/usr/local/lib/libx.so.1",
       {false, true, false, '\0', false, "", true, "/usr/local/lib", true, "libx.so",
        true, "1"}},
      {"file.txt",
       {true, true, false, '\0', false, "", false, "", true, "file", true, "txt"}},
      {"C:file.txt",
       {true, false, true, 'c', false, "", false, "", true, "file", true, "txt"}},
      {R"(C:\file)",
       {true, false, true, 'c', false, "", true, "", true, "file", false, ""}},
      {".profile",
       {true, true, false, '\0', false, "", false, "", false, "", true, "profile"}},
      {"archive.",
       {true, true, false, '\0', false, "", false, "", true, "archive", true, ""}},
      {R"(dir\)",
       {true, false, false, '\0', false, "", true, "dir", false, "", false, ""}},
      {R"(a/b\c)",
       {false, true, false, '\0', false, "", true, "a", true, R"(b\c)", false, ""}},
      {"C:/dir/file.txt",
       {false, true, false, 'c', false, "", true, "C:/dir", true, "file", true, "txt"}},
      {"a|b", {false, true, false, '\0', false, "", false, "", true, "a|b", false, ""}},
  });
}

TEST(FilePathParserTest, EmptyStringIsBothStylesAndHasNoPart) {
  ExpectAll(
      {{"", {true, true, false, '\0', false, "", false, "", false, "", false, ""}}});
}

TEST(FilePathParserTest, NeitherStyleHasNoPartsAndFallsBackToUnixRules) {
  ExpectAll({{R"(a\b|c)",
              {false, false, false, '\0', false, "", false, "", false, R"(a\b|c)", false,
               ""}}});
}

TEST(FilePathParserTest, ControlCharacterMakesAPathNotWindowsStyle) {
  for (int code = 1; code <= 255; ++code) {
    const char c = static_cast<char>(code);
    const bool forbidden =
        code <= 31 || std::string("<>\"/|").find(c) != std::string::npos;
    const std::string name = std::string("a") + c;
    EXPECT_EQ(Parser::IsWindowsStyle(cow_String(name)), !forbidden) << "code " << code;
    if (forbidden) {
      EXPECT_TRUE(Parser::IsUnixStyle(cow_String(name))) << "code " << code;
    }
  }
}

TEST(FilePathParserTest, StyleTestStopsAtTheFirstZeroByte) {
  using namespace std::string_view_literals;
  EXPECT_TRUE(Parser::IsWindowsStyle(cow_String("a\0|"sv)));
  EXPECT_FALSE(Parser::IsWindowsStyle(cow_String("|\0a"sv)));
}

TEST(FilePathParserTest, DriveIgnoresTheLettersTopBitOnlyWhereItIsAskedFor) {
  EXPECT_EQ(Parser::Drive("\xC3:"), 'c');
  EXPECT_EQ(Parser::Drive("\xE3:"), 'c');
  EXPECT_TRUE(Parser::HasDrive("\xC3:\\x"));
  EXPECT_EQ(Parser::DirName("\xC3:\\x"), "\xC3:");
}

TEST(FilePathParserTest, DriveAnswersWhateverTheStyle) {
  EXPECT_EQ(Parser::Drive("C:/dir"), 'c');
  EXPECT_FALSE(Parser::HasDrive("C:/dir"));
}

// The rules coded a second time, character by character and on std::string.
class Model {
 public:
  explicit Model(std::string path) : path_(std::move(path)) {}

  Parts All() const {
    const bool isWindows = Windows(), isUnix = Unix();
    const bool either = isWindows || isUnix;
    const std::string last = LastComponent();
    const std::size_t dot = last.find_last_of('.');
    const bool hasDot = dot != std::string::npos;
    Parts parts{};
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
    for (char c : path_) {
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
    int last = -1;
    for (int i = 0; i < static_cast<int>(text.length()); ++i) {
      if (text[static_cast<std::size_t>(i)] == (Windows() ? '\\' : '/')) {
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

TEST(FilePathParserTest, AgreesWithAModelOnEveryShortString) {
  const std::string alphabet = "aC:\\/.|\xC3";
  std::vector<std::string> paths = {""};
  for (std::size_t begin = 0, length = 1; length <= 5; ++length) {
    const std::size_t end = paths.size();
    for (; begin < end; ++begin) {
      for (char c : alphabet) {
        paths.push_back(paths[begin] + c);
      }
    }
  }
  ASSERT_EQ(paths.size(), 1u + 8 + 64 + 512 + 4096 + 32768);
  for (const std::string& path : paths) {
    ASSERT_EQ(Parsed(path), Model(path).All()) << "path '" << path << "'";
  }
}

}  // namespace
