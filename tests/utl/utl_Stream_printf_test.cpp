// Numbers against the run time's own printf.

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "common/environment/DecimalComma.h"
#include "utl/PrintfModel.h"
#include "utl/RecordingStream.h"
#include "utl/utl_Stream.h"

namespace {

class Printer {
 public:
  template <class... Arguments>
  std::string operator()(Arguments... arguments) {
    stream_.Print(arguments...);
    return out_.TakeText();
  }

 private:
  RecordingStream out_;
  utl_Stream stream_{out_, 80, 6, 6};
};

// Values of every kind: any bits, decimal fractions, whole numbers, powers, limits.
template <class Real, class Bits>
Real RandomReal(std::mt19937_64& random) {
  const auto whole = static_cast<Real>(static_cast<std::int32_t>(random()));
  switch (random() % 8) {
    case 0:
      return whole;
    case 1:
      return std::round(std::ldexp(whole, static_cast<int>(random() % 40) - 25));
    case 2:
      return std::trunc(whole / 65536) / 1000;
    case 3:
      return std::pow(Real{10}, static_cast<Real>(random() % 40) - 20);
    case 4:
      return std::nextafter(std::pow(Real{10}, static_cast<Real>(random() % 20)), whole);
    case 5: {
      constexpr std::array<Real, 7> kSpecial = {std::numeric_limits<Real>::infinity(),
                                                -std::numeric_limits<Real>::infinity(),
                                                std::numeric_limits<Real>::quiet_NaN(),
                                                0,
                                                -Real{0},
                                                std::numeric_limits<Real>::max(),
                                                std::numeric_limits<Real>::denorm_min()};
      return kSpecial[random() % kSpecial.size()];
    }
    default: {
      const auto any = std::bit_cast<Real>(static_cast<Bits>(random()));
      return std::isnan(any) ? Real{1} : any;  // run times differ in their signs
    }
  }
}

template <class Real, class Bits>
void ExpectMillionAsPrintf(unsigned seed) {
  std::mt19937_64 random(seed);
  Printer printed;
  for (int round = 0; round < 1000000; ++round) {
    const Real value = RandomReal<Real, Bits>(random);
    const int width = random() % 4 == 0 ? 0 : static_cast<int>(random() % 100) - 20;
    const int precision = random() % 4 == 0 ? 0 : static_cast<int>(random() % 21);
    ASSERT_EQ(printed(value, width, precision),
              PrintfModel::Real(value, width, precision))
        << std::hexfloat << value << ", " << width << ", " << precision;
  }
}

TEST(StreamPrintfTest, AMillionDoubles) {
  ExpectMillionAsPrintf<double, std::uint64_t>(1);
}

TEST(StreamPrintfTest, AMillionFloats) {
  ExpectMillionAsPrintf<float, std::uint32_t>(2);
}

// Mantissas of few bits make numbers that lie halfway between two roundings.
TEST(StreamPrintfTest, NumbersWithoutExponentAndHalves) {
  std::mt19937_64 random(5);
  Printer printed;
  for (int round = 0; round < 500000; ++round) {
    const auto mantissa = static_cast<double>(random() >> (11 + random() % 53));
    const double value = std::ldexp(random() % 2 == 0 ? mantissa : -mantissa,
                                    -static_cast<int>(random() % 68));
    const int precision = static_cast<int>(random() % 19);
    ASSERT_EQ(printed(value, 0, precision), PrintfModel::Real(value, 0, precision))
        << std::hexfloat << value << ", " << precision;
  }
}

TEST(StreamPrintfTest, WholeNumbersOfEveryLength) {
  Printer printed;
  for (std::uint64_t power = 1; power < 10'000'000'000'000'000'000U; power *= 10) {
    for (const std::uint64_t value : {power - 1, power, 5 * power, 9 * power}) {
      ASSERT_EQ(printed(value, 0), std::to_string(value));
      const auto number = static_cast<std::int64_t>(value / 2);
      ASSERT_EQ(printed(-number, 0), std::to_string(-number));
    }
  }
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
  constexpr auto kLeastInt = std::numeric_limits<int>::min();
  EXPECT_EQ(printed(kLeast, 0), std::to_string(kLeast));
  EXPECT_EQ(printed(kMost, 0), std::to_string(kMost));
  EXPECT_EQ(printed(kLeastInt, 0), std::to_string(kLeastInt));
}

TEST(StreamPrintfTest, WholeNumbers) {
  std::mt19937 random(3);
  Printer printed;
  for (int round = 0; round < 200000; ++round) {
    const auto value = static_cast<unsigned>(random()) >> random() % 32;
    const int width = static_cast<int>(random() % 100) - 20;
    const int number =
        random() % 2 == 0 ? static_cast<int>(value) : -static_cast<int>(value / 2);
    ASSERT_EQ(printed(number, width), PrintfModel::Whole(number, width));
    ASSERT_EQ(printed(value, width), PrintfModel::Whole(value, width));
  }
}

TEST(StreamPrintfTest, PrecisionsBeyondAllDigits) {
  std::mt19937_64 random(4);
  Printer printed;
  for (int round = 0; round < 2000; ++round) {
    const double value = RandomReal<double, std::uint64_t>(random);
    const int precision = static_cast<int>(random() % 1200) - 10;
    if (precision != 0) {
      std::array<char, 1300> buffer;
      std::snprintf(buffer.data(), buffer.size(), "%.*g", precision, value);
      std::string text = buffer.data();
      if (text.find_first_of(".e") == std::string::npos) {
        text += '.';
      }
      ASSERT_EQ(printed(value, 0, precision), text) << precision;
    }
  }
}

TEST(StreamPrintfTest, OutputDoesNotDependOnTheLocale) {
  const DecimalComma comma;
  Printer printed;
  EXPECT_EQ(printed(1234.5, 0, 0), "1234.5");
  EXPECT_EQ(printed(0.25f, 6, 3), "  0.25");
  EXPECT_EQ(printed(3.0, 0, 0), "3.");
  EXPECT_EQ(printed(1.5e-7, 0, 6), "1.5e-07");
  EXPECT_EQ(printed(1234567, 0), "1234567");
}

}  // namespace
