#include "platform/posix/state/posix_letters.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using posix::Folded;
using posix::IsFolded;

TEST(LettersTest, TextsThatDifferInCaseAlone) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"a-Z_[@`{", "a-z_[@`{"},
      {"\u00C4\u00D6", "\u00E4\u00F6"},  // Latin
      {"A\u00C4B", "a\u00E4b"},
      {"\u0416", "\u0436"},          // Cyrillic
      {"\u03A3", "\u03C3"},          // Greek
      {"\U00010400", "\U00010428"},  // beyond two bytes' worth
      {"\u00D7\u00F7\u00DF", "\u00D7\u00F7\u00DF"},
  };
  for (const auto& [text, folded] : cases) {
    EXPECT_EQ(Folded(text), folded);
    EXPECT_EQ(Folded(folded), folded);
    EXPECT_TRUE(IsFolded(text, folded)) << text;
    EXPECT_TRUE(IsFolded(folded, folded)) << text;
  }
}

// Of the letters of another encoding only those of ASCII are known.
TEST(LettersTest, TextsThatAreNoUtf8) {
  const std::pair<const char*, const char*> cases[] = {
      {"\xC4", "\xC4"},            // cut short
      {"\xE4", "\xE4"},            //
      {"A\xC4Z", "a\xC4z"},        // no continuation
      {"A\x80", "a\x80"},          // a continuation alone
      {"A\xC1\x81", "a\xC1\x81"},  // an "A" in two bytes
      {"A\xE0\x81\x81", "a\xE0\x81\x81"},
      {"A\xFF\xC3\x84", "a\xFF\xC3\x84"},
      {"A\xF8\x88\x80\x80\x80", "a\xF8\x88\x80\x80\x80"},
  };
  for (const auto& [text, folded] : cases) {
    EXPECT_EQ(Folded(text), folded);
    EXPECT_TRUE(IsFolded(text, folded));
  }
}

// Every text of two bytes against every other would take long: one of each kind.
TEST(LettersTest, ComparisonIsThatOfTheFoldedTexts) {
  const std::string bytes("aAbZz\x7F\x80\x84\xA4\xC3\xC4\xE2\xFF", 13);
  for (const char first : bytes) {
    for (const char second : bytes) {
      const std::string text = {first, second};
      for (const char third : bytes) {
        for (const char fourth : bytes) {
          const std::string folded = Folded(std::string{third, fourth});
          EXPECT_EQ(IsFolded(text.c_str(), folded), Folded(text) == folded);
        }
        EXPECT_FALSE(IsFolded(text.c_str(), Folded(std::string{third})));
        EXPECT_FALSE(IsFolded(std::string{third}.c_str(), Folded(text)));
      }
    }
  }
}

}  // namespace
