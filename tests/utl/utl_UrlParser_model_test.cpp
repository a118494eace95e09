// The URL parser's patterns against a reading by hand, on every short text.

#include <gtest/gtest.h>

#include <cctype>
#include <functional>
#include <string>

#include "utl/utl_UrlParser.h"

namespace {

using Text = std::string;

bool IsSchemeCharacter(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '.' ||
         c == '-';
}
bool IsDigit(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) != 0;
}
bool IsHostCharacter(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0 || IsDigit(c) || c == '.' ||
         c == '-';
}

// How many characters of a kind stand at `from`.
std::size_t Run(const Text& s, std::size_t from, bool (*isOfKind)(char)) {
  std::size_t end = from;
  while (end < s.size() && isOfKind(s[end])) {
    ++end;
  }
  return end - from;
}

Text Scheme(const Text& s) {
  const std::size_t run = Run(s, 0, IsSchemeCharacter);
  return run > 0 && run < s.size() && s[run] == ':' ? s.substr(0, run) : "";
}

// Tries the two readings of what stands behind "://": a user and then the rest, or no
// user; the first for which `take` finds something counts.
Text WithOrWithoutUser(const Text& s, const std::function<Text(std::size_t)>& take) {
  const std::size_t scheme = Scheme(s).size();
  if (scheme == 0 || s.compare(scheme, 3, "://") != 0) {
    return "";
  }
  const std::size_t start = scheme + 3;
  const std::size_t at = s.find('@', start);
  const Text found = at != Text::npos && at > start ? take(at + 1) : "";
  return !found.empty() ? found : take(start);
}

Text Host(const Text& s) {
  return WithOrWithoutUser(s, [&s](std::size_t from) {
    return s.substr(from, Run(s, from, IsHostCharacter));
  });
}

// The digits of ":digits" at `from`.
Text Digits(const Text& s, std::size_t from) {
  return from < s.size() && s[from] == ':' ? s.substr(from + 1, Run(s, from + 1, IsDigit))
                                           : "";
}

Text Port(const Text& s) {
  return WithOrWithoutUser(s, [&s](std::size_t from) -> Text {
    const std::size_t host = Run(s, from, IsHostCharacter);
    const Text digits = Digits(s, from + host);
    const std::size_t slash = from + host + 1 + digits.size();
    return host > 0 && !digits.empty() && slash < s.size() && s[slash] == '/' ? digits
                                                                              : "";
  });
}

Text Path(const Text& s) {
  return WithOrWithoutUser(s, [&s](std::size_t from) -> Text {
    const std::size_t host = Run(s, from, IsHostCharacter);
    const Text digits = Digits(s, from + host);
    const std::size_t slash = from + host + (digits.empty() ? 0 : 1 + digits.size());
    if (host == 0 || slash >= s.size() || s[slash] != '/') {
      return "";
    }
    return s.substr(slash + 1, s.find('?', slash) - slash - 1);
  });
}

void Compare(const Text& text) {
  const cow_String s(text);
  ASSERT_EQ(utl_UrlParser::GetScheme(s), Scheme(text)) << text;
  ASSERT_EQ(utl_UrlParser::IsUrl(s), Scheme(text) == "kstrdb") << text;
  ASSERT_EQ(utl_UrlParser::GetHost(s), Host(text)) << text;
  ASSERT_EQ(utl_UrlParser::HasHost(s), !Host(text).empty()) << text;
  ASSERT_EQ(utl_UrlParser::GetPort(s), Port(text)) << text;
  ASSERT_EQ(utl_UrlParser::HasPort(s), !Port(text).empty()) << text;
  ASSERT_EQ(utl_UrlParser::GetPath(s), Path(text)) << text;
  ASSERT_EQ(utl_UrlParser::HasPath(s), !Path(text).empty()) << text;
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

class UrlParserModel : public testing::TestWithParam<const char*> {};

TEST_P(UrlParserModel, EveryShortText) {
  Text text = GetParam();
  CompareAll(text, 5);
}

INSTANTIATE_TEST_SUITE_P(BehindAStart, UrlParserModel,
                         testing::Values("", "kstrdb", "k://", "k://h:1"));

}  // namespace
