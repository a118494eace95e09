// Where lines are broken and when the stream below is flushed.

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

#include "utl/RecordingStream.h"
#include "utl/StreamLinesModel.h"
#include "utl/utl_Stream.h"

namespace {

// In what follows a '|' is a flush; the line holds ten characters unless a test has a
// stream of its own.
class StreamLinesTest : public testing::Test {
 protected:
  RecordingStream out_;
  utl_Stream stream_{out_, 10, 6, 6};
};

TEST_F(StreamLinesTest, WithoutOptionalBreaksTextGoesOutAtOnce) {
  stream_ << "longer than "
          << "the line";
  EXPECT_EQ(out_.Take(), "longer than the line");
}

TEST_F(StreamLinesTest, TextThatFitsIsHeldBack) {
  stream_.OptionalLineBreak();
  stream_ << "123456"
          << "7890";
  EXPECT_EQ(out_.Take(), "");
  stream_.LineBreak();
  EXPECT_EQ(out_.Take(), "1234567890\n|");
}

// Fills the line from `column` on and tells by the break how much was left.
std::size_t RoomLeft(utl_Stream& stream, RecordingStream& out) {
  out.Take();
  stream.OptionalLineBreak();
  std::size_t room = 0;
  while (stream.Print("x"), out.Text().empty()) {
    ++room;
  }
  return room;
}

TEST_F(StreamLinesTest, TheLineIsBrokenBeforeTheHeldText) {
  stream_.OptionalLineBreak();
  stream_ << "123456";
  EXPECT_EQ(out_.Take(), "");
  stream_ << "abcde";
  EXPECT_EQ(out_.Take(), "\n|123456abcde");
  stream_ << "f";
  EXPECT_EQ(out_.Take(), "f") << "no break is pending any more";
}

TEST_F(StreamLinesTest, TheColumnAfterABreakCountsHeldTextAndText) {
  RecordingStream out;
  utl_Stream stream(out, 14, 6, 6);
  stream << "ab";
  stream.OptionalLineBreak();
  stream << "123456"
         << "abcdefg";
  EXPECT_EQ(out.Take(), "ab\n|123456abcdefg");
  EXPECT_EQ(RoomLeft(stream, out), 1u) << "13 of 14";
}

TEST_F(StreamLinesTest, TheColumnAfterABreakMayLieBeyondTheLine) {
  stream_.OptionalLineBreak();
  stream_ << "123456"
          << "abcde";
  EXPECT_EQ(out_.Take(), "\n|123456abcde");
  stream_.OptionalLineBreak();
  stream_ << "";
  EXPECT_EQ(out_.Take(), "\n|") << "11 of 10: not even an empty text fits";
}

TEST_F(StreamLinesTest, TheLineMayBeFullButNotLonger) {
  stream_ << "1234";
  stream_.OptionalLineBreak();
  stream_ << "567890";
  EXPECT_EQ(out_.Take(), "1234");
  stream_ << ""
          << "!";
  EXPECT_EQ(out_.Take(), "\n|567890!");
}

TEST_F(StreamLinesTest, ASecondOptionalBreakWritesWhatIsHeld) {
  stream_.OptionalLineBreak();
  stream_ << "123";
  stream_.OptionalLineBreak();
  EXPECT_EQ(out_.Take(), "123");
  stream_ << "456";
  EXPECT_EQ(out_.Take(), "");
  stream_ << "78901";
  EXPECT_EQ(out_.Take(), "\n|45678901") << "broken at the later place";
}

TEST_F(StreamLinesTest, TheColumnAfterLineBreakIsTheLengthOfTheHeldText) {
  stream_ << "12345";
  stream_.OptionalLineBreak();
  stream_ << "ab";
  stream_.LineBreak();
  EXPECT_EQ(out_.Take(), "12345ab\n|");
  EXPECT_EQ(RoomLeft(stream_, out_), 8u) << "2 of 10";
  RecordingStream other;
  utl_Stream fresh(other, 10, 6, 6);
  fresh << "12345" << endl;
  EXPECT_EQ(RoomLeft(fresh, other), 10u) << "nothing was held";
}

TEST_F(StreamLinesTest, LineBreakEndsAnOptionalBreak) {
  stream_.OptionalLineBreak();
  stream_ << endl << "text";
  EXPECT_EQ(out_.Take(), "\n|text");
}

TEST_F(StreamLinesTest, FlushWritesHeldTextAndKeepsTheBreakPending) {
  stream_ << "1234567";
  stream_.OptionalLineBreak();
  stream_ << "ab";
  stream_.Flush();
  EXPECT_EQ(out_.Take(), "1234567ab|");
  stream_ << "0123456789";
  EXPECT_EQ(out_.Take(), "") << "still held back, from column 0";
  stream_ << "!";
  EXPECT_EQ(out_.Take(), "\n|0123456789!");
}

TEST_F(StreamLinesTest, HeldTextIsLostAtTheEnd) {
  RecordingStream out;
  {
    utl_Stream stream(out, 10, 6, 6);
    stream << "ab";
    stream.OptionalLineBreak();
    stream << "cd";
  }
  EXPECT_EQ(out.Take(), "ab");
}

TEST_F(StreamLinesTest, LongOutputIsFlushedBehind500Columns) {
  RecordingStream out;
  utl_Stream stream(out, 600, 6, 6);
  for (int i = 0; i < 600; ++i) {
    stream << "x";
  }
  EXPECT_EQ(out.Take(), std::string(501, 'x').append("|").append(99, 'x'));
  EXPECT_EQ(RoomLeft(stream, out), 501u) << "counted anew: 99 of 600";
}

TEST_F(StreamLinesTest, ABrokenLineIsNotFlushedBehind500Columns) {
  stream_.OptionalLineBreak();
  stream_ << std::string(600, 'x').c_str();
  EXPECT_EQ(out_.Take(), "\n|" + std::string(600, 'x'));
  stream_ << "y";
  EXPECT_EQ(out_.Take(), "y|") << "but with the next text";
}

TEST_F(StreamLinesTest, NumbersAreBrokenAsTextIs) {
  RecordingStream out;
  utl_Stream stream(out, 12, 3, 6);
  stream << "x =";
  for (const double value : {0.5, 1200.0, -3.0}) {
    stream.OptionalLineBreak();
    stream.Print(value, 6, 6);
  }
  stream << endl;
  EXPECT_EQ(out.Take(), "x =   0.5\n| 1200.   -3.\n|");
}

TEST_F(StreamLinesTest, LineWidthsThatHoldNothingBreakAtEveryPlace) {
  for (const int width : {0, -1, std::numeric_limits<int>::min()}) {
    RecordingStream out;
    utl_Stream stream(out, width, 6, 6);
    for (const char* text : {"a", "b"}) {
      stream.OptionalLineBreak();
      stream << text;
    }
    EXPECT_EQ(out.Take(), "\n|a\n|b");
  }
}

TEST_F(StreamLinesTest, RandomSequencesAsTheModelWritesThem) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    const unsigned width = static_cast<unsigned>(random()) % 120;
    RecordingStream out;
    utl_Stream stream(out, static_cast<int>(width), 6, 6);
    StreamLinesModel model(width);
    for (int step = 0; step < 200; ++step) {
      const std::string text(random() % (random() % 30 == 0 ? 400 : 12),
                             static_cast<char>('a' + random() % 26));
      switch (random() % 8) {
        case 0:
        case 1:
          stream.OptionalLineBreak();
          model.OptionalLineBreak();
          break;
        case 2:
          random() % 2 == 0 ? stream.LineBreak() : static_cast<void>(stream << endl);
          model.LineBreak();
          break;
        case 3:
          stream.Flush();
          model.Flush();
          break;
        default:
          stream << text.c_str();
          model.Print(text);
      }
      ASSERT_EQ(out.Text(), model.Text()) << "width " << width << ", step " << step;
    }
  }
}

}  // namespace
