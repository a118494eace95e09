#include "utl/utl_Stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include "utl/RecordingStream.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Counts the bytes, and keeps up to three of each piece.
class CountingStream : public aio_ostream {
 public:
  void write(const char* data, int length) override {
    starts_.append(data, static_cast<std::size_t>(std::clamp(length, 0, 3)));
    count_ += length;
  }
  void flush() override {}
  bool good() const override { return true; }

  const std::string& Starts() const { return starts_; }
  std::int64_t Count() const { return count_; }

 private:
  std::string starts_;
  std::int64_t count_ = 0;
};

template <class... Arguments>
std::string Printed(Arguments... arguments) {
  RecordingStream out;
  utl_Stream stream(out, 80, 6, 15);
  EXPECT_EQ(&stream.Print(arguments...), &stream);
  return out.TakeText();
}

template <class Value>
std::string Streamed(const Value& value, int floatPrecision = 6,
                     int doublePrecision = 15) {
  RecordingStream out;
  utl_Stream stream(out, 80, floatPrecision, doublePrecision);
  EXPECT_EQ(&(stream << value), &stream);
  return out.Text();
}

std::string Fixed(std::string text, int width) {
  text.resize(text.size() + 2, '#');
  text[text.size() - 2] = '\0';
  utl_Stream::FixNumericString(text.data(), width);
  text.resize(text.find('\0'));
  return text;
}

TEST(StreamTest, RealNumbers) {
  struct {
    double value;
    int width;
    int precision;
    const char* text;
  } const table[] = {
      // neither width nor precision: six digits
      {3.0, 0, 0, "3."},
      {0.0, 0, 0, "0."},
      {-0.0, 0, 0, "-0."},
      {2.5, 0, 0, "2.5"},
      {1.0 / 3, 0, 0, "0.333333"},
      {123456.0, 0, 0, "123456."},
      {1234567.0, 0, 0, "1.23457e+06"},
      {1e5, 0, 0, "100000."},
      {1e6, 0, 0, "1e+06"},
      {1e-5, 0, 0, "1e-05"},
      {1e100, 0, 0, "1e+100"},
      {1e-300, 0, 0, "1e-300"},
      // precision alone
      {1.0 / 3, 0, 15, "0.333333333333333"},
      {2.0 / 3, 0, 1, "0.7"},
      {1e15, 0, 15, "1e+15"},
      {999999999999999.0, 0, 15, "999999999999999."},
      {1e15, 0, 16, "1000000000000000."},
      {0.1, 0, 20, "0.10000000000000000555"},
      {1234567.0, 0, -1, "1.23457e+06"},
      // width and precision
      {2.75, 8, 2, "     2.8"},
      {3.0, 8, 2, "      3."},
      {1.5e10, 10, 2, "   1.5e+10"},
      {1.5e10, 3, 2, "1.5e+10"},
      {-3.0, 2, 6, "-3."},
      {2.75, -8, 2, "2.8     "},
      {3.0, -4, 2, "3   ."},
      {1e10, -6, 1, "1e+10 "},
      {1234567.0, 12, -3, " 1.23457e+06"},
      // width alone: one digit
      {3.0, 5, 0, "   3."},
      {3.0, 1, 0, "3."},
      {12.0, 8, 0, "   1e+01"},
      {2.75, 4, 0, "  3."},
      {9.5, 6, 0, " 1e+01"},
      // no numbers
      {kInfinity, 0, 0, "inf."},
      {-kInfinity, 0, 6, "-inf."},
      {kInfinity, 6, 3, "  inf."},
      {kNaN, 0, 0, "nan."},
  };
  for (const auto& row : table) {
    EXPECT_EQ(Printed(row.value, row.width, row.precision), row.text)
        << row.value << ", " << row.width << ", " << row.precision;
  }
}

TEST(StreamTest, FloatsArePrintedAsTheDoublesTheyAre) {
  EXPECT_EQ(Printed(0.1f, 0, 0), "0.1");
  EXPECT_EQ(Printed(0.1f, 0, 15), "0.100000001490116");
  EXPECT_EQ(Printed(3.0f, 5, 0), "   3.");
  EXPECT_EQ(Printed(0.3f, 8, 3), "     0.3");
  EXPECT_EQ(Printed(std::numeric_limits<float>::max(), 0, 0), "3.40282e+38");
}

TEST(StreamTest, WholeNumbers) {
  EXPECT_EQ(Printed(0, 0), "0");
  EXPECT_EQ(Printed(-17, 0), "-17");
  EXPECT_EQ(Printed(std::numeric_limits<int>::min(), 0), "-2147483648");
  EXPECT_EQ(Printed(17, 5), "   17");
  EXPECT_EQ(Printed(17, -5), "17   ");
  EXPECT_EQ(Printed(12345, 3), "12345");
  EXPECT_EQ(Printed(4294967295u, 0), "4294967295");
  EXPECT_EQ(Printed(0u, 11), "          0");
  EXPECT_EQ(Printed(7u, -3), "7  ");
}

TEST(StreamTest, FieldsOfAnyWidth) {
  for (const int width : {80, 94, 95, 96, 97, 1000, 100000}) {
    const auto blanks = static_cast<std::size_t>(width);
    EXPECT_EQ(Printed(17, width), std::string(blanks - 2, ' ') + "17");
    EXPECT_EQ(Printed(17, -width), "17" + std::string(blanks - 2, ' '));
    EXPECT_EQ(Printed(3.0, width, 6), std::string(blanks - 2, ' ') + "3.");
    EXPECT_EQ(Printed(3.0, -width, 6), "3" + std::string(blanks - 1, ' ') + ".");
  }
}

// Nothing is lost of a text whose length is beyond an int.
TEST(StreamTest, TheWidestField) {
  CountingStream counter;
  utl_Stream stream(counter, 80, 6, 15);
  stream.Print(17, INT_MIN);
  EXPECT_EQ(counter.Count(), 2147483648);
  EXPECT_EQ(counter.Starts(), "17  ");
}

TEST(StreamTest, PrecisionsOfAnySize) {
  const double smallest = std::numeric_limits<double>::denorm_min();
  EXPECT_EQ(Printed(smallest, 0, 900).size(), 757u) << "751 digits, point, exponent";
  EXPECT_EQ(Printed(smallest, 0, std::numeric_limits<int>::max()),
            Printed(smallest, 0, 900));
  const std::string largest = Printed(std::numeric_limits<double>::max(), 0, 309);
  EXPECT_EQ(largest.size(), 310u);
  EXPECT_EQ(Printed(std::numeric_limits<double>::max(), 0, 100000), largest);
  EXPECT_EQ(Printed(0.5, 0, std::numeric_limits<int>::max()), "0.5");
}

TEST(StreamTest, TextIsPrintedUpToAZeroByte) {
  EXPECT_EQ(Printed("abc"), "abc");
  EXPECT_EQ(Printed(""), "");
  EXPECT_EQ(Printed(cow_String("ab\0c", 4)), "ab");
  EXPECT_EQ(Printed(cow_String()), "");
}

TEST(StreamTest, OperatorsTakeThePrecisionsOfTheConstructor) {
  EXPECT_EQ(Streamed(1.0f / 3, 3, 10), "0.333");
  EXPECT_EQ(Streamed(1.0 / 3, 3, 10), "0.3333333333");
  EXPECT_EQ(Streamed(1.0 / 3, 3, 0), "0.333333") << "0 stands for 6";
  EXPECT_EQ(Streamed(-5), "-5");
  EXPECT_EQ(Streamed(5u), "5");
  EXPECT_EQ(Streamed("text"), "text");
  EXPECT_EQ(Streamed(cow_String("text")), "text");
  EXPECT_EQ(Streamed(endl), "\n|");
}

TEST(StreamTest, NumericStrings) {
  struct {
    const char* text;
    int width;
    const char* fixed;
  } const table[] = {
      {"3", 0, "3."},
      {" 3", 0, "3."},
      {" 3", 2, "3."},
      {"   3", 4, "  3."},
      {"-0", 0, "-0."},
      {"inf", 0, "inf."},
      {" nan", 4, "nan."},
      {"3   ", -4, "3   ."},
      {"", 0, "."},
      {" ", 0, "."},
      {"2.5", 0, "2.5"},
      {" 2.5", 4, " 2.5"},
      {"1.5e+05", 0, "1.5e+05"},
      {"1.5e+05", 7, "1.5e+05"},
      {"1.5e+005", 0, "1.5e+05"},
      {"  1.5e+005", 10, "   1.5e+05"},
      {"1.5e-005", -8, " 1.5e-05"},
      {"1e+005", 0, "1e+05"},
      {"1e+000", 1, " 1e+00"},
      {"1.5e+012", 0, "1.5e+12"},
      {"1e-098", 6, " 1e-98"},
      {"1e+0x5", 0, "1e+0x5"},
      {"1e+05x", 0, "1e+05x"},
      {"1e+105", 0, "1e+105"},
      {"1e-300", 6, "1e-300"},
      {"1e+0005", 0, "1e+0005"},
      {"1e+05 ", -6, "1e+05 "},
      {"1e+005 ", -7, "1e+005 "},
      {"1e+0:5", 0, "1e+0:5"},
      {"1e+0/5", 0, "1e+0/5"},
      {"1e5", 0, "1e5"},
      {"e", 0, "e"},
      {"1.e", 0, "1.e"},
      {"1.5e", 0, "1.5e"},
      {"1.5e+", 0, "1.5e+"},
      {"1e+", 0, "1e+"},
  };
  for (const auto& row : table) {
    EXPECT_EQ(Fixed(row.text, row.width), row.fixed) << row.text << ", " << row.width;
  }
}

TEST(StreamSmallRealTest, SmallNumbersAreZeroWhileItLives) {
  RecordingStream out;
  utl_Stream stream(out, 80, 6, 6);
  {
    const utl_StreamSmallReal guard(stream, 1e-20);
    stream.Print(1.0e-300, 0, 6);
    EXPECT_EQ(out.Take(), "0.");
    stream.Print(-1.0e-21, 6, 3);
    EXPECT_EQ(out.Take(), "    0.") << "without a sign";
    stream.Print(-0.0, 0, 6);
    EXPECT_EQ(out.Take(), "0.");
    stream << 1e-21f;
    EXPECT_EQ(out.Take(), "0.");
    stream << 1e-19f << " " << -1e-19 << " " << 2;
    EXPECT_EQ(out.Take(), "1e-19 -1e-19 2");
    stream << kNaN;
    EXPECT_EQ(out.Take(), "nan.");
  }
  stream.Print(1.0e-300, 0, 6);
  EXPECT_EQ(out.Take(), "1e-300");
}

TEST(StreamSmallRealTest, AMagnitudeOfTheThresholdIsPrinted) {
  RecordingStream out;
  utl_Stream stream(out, 80, 6, 6);
  const utl_StreamSmallReal guard(stream, 0.25);
  stream << 0.25 << " " << -0.25f << " " << 0.2499999999 << " " << 0.2499f;
  EXPECT_EQ(out.Take(), "0.25 -0.25 0. 0.");
}

// A float is compared as the double it is: 0.1f is above 0.1.
TEST(StreamSmallRealTest, FloatsAreComparedInDoublePrecision) {
  RecordingStream out;
  utl_Stream stream(out, 80, 6, 6);
  const utl_StreamSmallReal guard(stream, 0.1);
  stream << 0.1f;
  EXPECT_EQ(out.Take(), "0.1");
}

TEST(StreamSmallRealTest, AThresholdNotAboveZeroDoesNothing) {
  for (const double threshold : {0.0, -1e-3, kNaN}) {
    RecordingStream out;
    utl_Stream stream(out, 80, 6, 6);
    const utl_StreamSmallReal guard(stream, threshold);
    stream.Print(1.0e-300, 0, 6).Print(" ").Print(-0.0, 0, 6);
    EXPECT_EQ(out.Take(), "1e-300 -0.");
  }
}

TEST(StreamSmallRealTest, GuardsDoNotNest) {
  RecordingStream out;
  utl_Stream stream(out, 80, 6, 6);
  const utl_StreamSmallReal outer(stream, 1e-3);
  {
    const utl_StreamSmallReal inner(stream, 1e-6);
    stream << 1e-4 << " " << 1e-7;
    EXPECT_EQ(out.Take(), "0.0001 0.");
  }
  stream << 1e-7;
  EXPECT_EQ(out.Take(), "1e-07") << "the inner one's end was the outer one's too";
  const utl_StreamSmallReal again(stream, 1e-3);
  const utl_StreamSmallReal off(stream, 0);
  stream << 1e-4;
  EXPECT_EQ(out.Take(), "0.0001") << "switched off";
}

}  // namespace
