// The URL parser against the patterns that define it, on every short text and on many
// random ones.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>

#include "common/expect/Steps.h"
#include "utl/UrlPatterns.h"
#include "utl/utl_UrlParser.h"

namespace {

using Text = std::string;

void Compare(const Text& text) {
  const cow_String s(text);
  ASSERT_TRUE(PartsOfUrl(s) == PartsByPatterns(s)) << text;
}

// `text` and every longer one that up to `more` characters make of it.
void CompareAll(Text& text, int more) {
  Compare(text);
  for (const char c : {'k', '1', '.', '+', ':', '/', '@', '?', '_'}) {
    if (more == 0 || testing::Test::HasFatalFailure()) {
      return;
    }
    text.push_back(c);
    CompareAll(text, more - 1);
    text.pop_back();
  }
}

class UrlParserModelTest : public testing::TestWithParam<const char*> {};

TEST_P(UrlParserModelTest, EveryShortText) {
  Text text = GetParam();
  CompareAll(text, 5);
}

INSTANTIATE_TEST_SUITE_P(AfterAStart, UrlParserModelTest,
                         testing::Values("", "kstrdb", "k://", "k://h:1"));

TEST(UrlParserPatternsTest, RandomTexts) {
  constexpr char kCharacters[] = "kstrdb:/:/@?..-+059Zz_%\\ \n\xE9";  // and a zero byte
  std::mt19937 random(1);
  for (int round = 0; round < 30000 && !HasFatalFailure(); ++round) {
    Text text = round % 2 == 0 ? "kstrdb://" : "";
    for (std::size_t i = random() % 30; i > 0; --i) {
      text += kCharacters[random() % sizeof kCharacters];
    }
    Compare(text);
  }
}

// With a search for a scheme from every letter on it takes ten minutes.
TEST(UrlParserPatternsTest, AMillionLettersWithALateColon) {
  Text text(1'000'000, 'a');
  text += ':';
  EXPECT_FALSE(utl_UrlParser::IsUrl(cow_String(text)));
  EXPECT_EQ(utl_UrlParser::GetScheme(cow_String(text)).Length(), 1'000'000);
  EXPECT_FALSE(utl_UrlParser::IsUrl(cow_String("_" + text)));
}

// From each letter on there would be a search for the colon or the "@".
TEST(UrlParserPatternsTest, LettersWithALateColon) {
  if (StepsOf([] {}) == 0) {
    GTEST_SKIP() << kNoSteps;
  }
  const std::pair<const char*, const char*> around[] = {
      {"", ":"}, {"a://", "@"}, {"a://h:", "/"}};
  for (const auto& [start, end] : around) {
    EXPECT_TRUE(StepsGrowAsTheLength([start = start, end = end](std::size_t length) {
      const cow_String text(start + Text(length, 'a') + end);
      return StepsOf([&] { PartsOfUrl(text); });
    })) << start
        << "aaa..." << end;
  }
}

}  // namespace
