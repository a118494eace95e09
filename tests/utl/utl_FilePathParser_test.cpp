#include "utl/utl_FilePathParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utl/FilePathParserModel.h"

namespace {

using Parser = utl_FilePathParser;

struct Case {
  std::string path;
  ParsedPath parts;
};

void ExpectAll(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(Parsed(cow_String(c.path)), c.parts) << "path '" << c.path << "'";
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

TEST(FilePathParserTest, ForbiddenCharacterIsFoundAtEveryPlaceOfPathsOfEveryLength) {
  for (std::size_t length = 1; length < 70; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      std::string name(length, 'a');
      for (const char forbidden : {'<', '>', '"', '/', '|', '\x01', '\x1F'}) {
        name[place] = forbidden;
        ASSERT_FALSE(Parser::IsWindowsStyle(cow_String(name))) << length << ' ' << place;
      }
      name[place] = '\0';
      ASSERT_TRUE(Parser::IsWindowsStyle(cow_String(name))) << length << ' ' << place;
      if (place + 1 < length) {
        name.back() = '|';
        ASSERT_TRUE(Parser::IsWindowsStyle(cow_String(name))) << length << ' ' << place;
      }
    }
    ASSERT_TRUE(Parser::IsWindowsStyle(cow_String(std::string(length, '\x80'))))
        << length;
  }
}

TEST(FilePathParserTest, NothingButOneForbiddenCharacterIsFoundToo) {
  for (const char forbidden : {'<', '>', '"', '/', '|', '\x01', '\x1F'}) {
    for (std::size_t length = 1; length < 70; ++length) {
      ASSERT_FALSE(Parser::IsWindowsStyle(cow_String(std::string(length, forbidden))))
          << int{forbidden} << ' ' << length;
    }
  }
}

TEST(FilePathParserTest, EveryForbiddenCharacterIsFoundInALongPath) {
  for (int c = 1; c < 256; ++c) {
    std::string name(20, 'a');
    name[7] = static_cast<char>(c);
    const bool isForbidden =
        c < 32 || std::string_view("<>\"/|").find(name[7]) != std::string_view::npos;
    EXPECT_EQ(Parser::IsWindowsStyle(cow_String(name)), !isForbidden) << c;
  }
}

TEST(FilePathParserTest, LastSeparatorIsFoundAtEveryPlaceOfPathsOfEveryLength) {
  for (const char separator : {'\\', '/'}) {
    for (std::size_t length = 1; length < 70; ++length) {
      for (std::size_t place = 0; place < length; ++place) {
        std::string path(length, 'a');
        path[place / 2] = separator;
        path[place] = separator;
        ASSERT_EQ(Parser::DirName(cow_String(path)), path.substr(0, place));
        ASSERT_EQ(Parser::BaseName(cow_String(path)), path.substr(place + 1));
      }
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
    ASSERT_EQ(Parsed(cow_String(path)), FilePathParserModel(path).All())
        << "path '" << path << "'";
  }
}

}  // namespace
