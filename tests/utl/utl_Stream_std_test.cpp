// utl_Stream with what the standard library gives: characters, strings, long integers.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>

#include "aio/aio_stdostream.h"
#include "utl/utl_Stream.h"

namespace {

class StreamStdTest : public testing::Test {
 protected:
  // What the stream has written since the last question.
  std::string Text() {
    out_.Flush();
    std::string text = text_.str();
    text_.str("");
    return text;
  }

  std::ostringstream text_;
  aio_stdostream stream_{text_};
  utl_Stream out_{stream_, 10, 6, 15};
};

TEST_F(StreamStdTest, CharacterIsPrintedAsItself) {
  out_ << 'a' << ' ' << '\xff' << 'z';
  EXPECT_EQ(Text(), "a \xffz");
}

TEST_F(StreamStdTest, ZeroCharacterEndsATextBeforeItBegins) {
  out_ << '\0' << 'a';
  EXPECT_EQ(Text(), "a");
}

TEST_F(StreamStdTest, OtherCharacterTypesAreNumbers) {
  out_ << static_cast<signed char>('a') << static_cast<unsigned char>('b');
  EXPECT_EQ(Text(), "9798");
}

TEST_F(StreamStdTest, CharacterCountsAsAColumn) {
  out_.OptionalLineBreak();
  out_ << "12345678" << '9' << '0' << 'x';
  EXPECT_EQ(Text(), "\n1234567890x");
}

TEST_F(StreamStdTest, TextsOfTheStandardLibrary) {
  using namespace std::string_literals;
  using namespace std::string_view_literals;
  out_ << "abc"s
       << "def"sv;
  out_.Print("gh"s).Print("ij"sv);
  EXPECT_EQ(Text(), "abcdefghij");
  out_ << "ab\0c"s
       << "de\0f"sv;
  EXPECT_EQ(Text(), "abde") << "up to the first zero byte";
}

TEST_F(StreamStdTest, IntegersOf64Bits) {
  out_ << std::numeric_limits<std::int64_t>::min() << ' '
       << std::numeric_limits<std::int64_t>::max() << ' '
       << std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(Text(), "-9223372036854775808 9223372036854775807 18446744073709551615");
}

TEST_F(StreamStdTest, EveryLongType) {
  out_ << -1L << ' ' << 2UL << ' ' << -3LL << ' ' << 4ULL << ' ' << std::size_t{5};
  EXPECT_EQ(Text(), "-1 2 -3 4 5");
}

TEST_F(StreamStdTest, LongIntegersInAField) {
  out_.Print(std::int64_t{-42}, 6).Print(std::uint64_t{42}, -6).Print(7L, 0);
  EXPECT_EQ(Text(), "   -4242    7");
}

TEST_F(StreamStdTest, ShortIntegersAndTruthValuesAreNumbers) {
  out_ << true << false << static_cast<short>(-7);
  EXPECT_EQ(Text(), "10-7");
}

}  // namespace
