#include "utl/utl_Stream.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "utl/impl/text/utl_digits.h"
#include "utl/impl/text/utl_NumberText.h"

namespace {

// A line without an optional break is flushed when it gets longer than this.
constexpr std::int64_t kFlushColumn = 500;

constexpr int kPercentGPrecision = 6;

// The precision that printf works with: an empty one, as in "%*.g", is 0 to it.
int EffectivePrecision(int width, int precision) {
  return width == 0 && precision == 0 ? kPercentGPrecision : precision;
}

bool IsDigit(char c) {
  return '0' <= c && c <= '9';
}

std::int64_t Length(std::string_view text) {
  return static_cast<std::int64_t>(text.size());
}

}  // namespace

utl_Stream::utl_Stream(aio_ostream& out, int lineWidth, int floatPrecision,
                       int doublePrecision)
    : out_(out),
      lineWidth_(lineWidth),
      floatPrecision_(floatPrecision),
      doublePrecision_(doublePrecision) {}

utl_Stream::~utl_Stream() = default;

// Writes in pieces whose bytes the underlying stream can count.
inline void utl_Stream::Write(std::string_view text) {
  constexpr std::size_t kLargest = std::numeric_limits<int>::max();
  for (; text.size() > kLargest; text.remove_prefix(kLargest)) {
    out_.write(text.data(), std::numeric_limits<int>::max());
  }
  out_.write(text.data(), static_cast<int>(text.size()));
}

inline utl_Stream& utl_Stream::PrintText(std::string_view text) {
  if (pendingBreak_) {
    return PrintAfterBreak(text);
  }
  column_ += Length(text);
  Write(text);
  if (column_ > kFlushColumn) {
    column_ = 0;
    out_.flush();
  }
  return *this;
}

utl_Stream& utl_Stream::Print(double value, int width, int precision) {
  return PrintReal(value, width, precision);
}

utl_Stream& utl_Stream::Print(float value, int width, int precision) {
  return PrintReal(value, width, precision);
}

utl_Stream& utl_Stream::PrintReal(double value, int width, int precision) {
  if (smallRealActive_ && smallRealThreshold_ > std::fabs(value)) {
    value = 0;
  }
  utl_NumberText number(value, EffectivePrecision(width, precision));
  number.Justify(width);
  number.AddPoint();
  return PrintText(number.Text());
}

utl_Stream& utl_Stream::PrintDigits(std::uint64_t magnitude, bool isNegative, int width) {
  char room[kMostDigits + 1];
  char* const end = room + sizeof room;
  char* begin = utl_putDigits(end, magnitude);
  begin[-1] = '-';  // in any case: a processor cannot foresee which numbers need it
  begin -= isNegative ? 1 : 0;
  const std::string_view digits(begin, static_cast<std::size_t>(end - begin));
  return width == 0 ? PrintText(digits) : PrintInField(digits, width);
}

utl_Stream& utl_Stream::PrintInField(std::string_view digits, int width) {
  utl_NumberText number(digits);
  number.Justify(width);
  return PrintText(number.Text());
}

utl_Stream& utl_Stream::Print(int value, int width) {
  return PrintLong(std::int64_t{value}, width);
}

utl_Stream& utl_Stream::Print(unsigned int value, int width) {
  return PrintDigits(value, false, width);
}

utl_Stream& utl_Stream::PrintLong(std::int64_t value, int width) {
  const auto bits = static_cast<std::uint64_t>(value);
  return PrintDigits(value < 0 ? 0 - bits : bits, value < 0, width);
}

utl_Stream& utl_Stream::PrintLong(std::uint64_t value, int width) {
  return PrintDigits(value, false, width);
}

utl_Stream& utl_Stream::Print(const cow_String& text) {
  return PrintText(text.c_str());
}

utl_Stream& utl_Stream::Print(const char* text) {
  return PrintText(text);
}

utl_Stream& utl_Stream::PrintAfterBreak(std::string_view text) {
  if (column_ + pending_.Length() + Length(text) <= lineWidth_) {
    pending_ += text;
    return *this;
  }
  pendingBreak_ = false;
  Write("\n");
  out_.flush();
  column_ = 0;
  WritePending();
  column_ += Length(text);
  Write(text);
  return *this;
}

void utl_Stream::LineBreak() {
  pendingBreak_ = false;
  column_ = 0;
  WritePending();
  Write("\n");
  out_.flush();
}

void utl_Stream::OptionalLineBreak() {
  if (pendingBreak_) {
    WritePending();
  } else {
    pendingBreak_ = true;
  }
}

void utl_Stream::Flush() {
  WritePending();
  out_.flush();
  column_ = 0;
}

// Writes what is held and counts its columns.
void utl_Stream::WritePending() {
  column_ += pending_.Length();
  Write(pending_);
  pending_.Clear();
}

void utl_Stream::FixNumericString(char* text, int width) {
  const std::string_view number(text);
  const std::size_t exponent = number.find('e');
  if (exponent == std::string_view::npos) {
    if (number.find('.') == std::string_view::npos) {
      text[utl_addPoint(text, number.size())] = '\0';
    }
    return;
  }
  const std::string_view digits = number.substr(std::min(exponent + 2, number.size()));
  if (digits.size() != 3 || digits[0] != '0' || !IsDigit(digits[1]) ||
      !IsDigit(digits[2])) {
    return;
  }
  char* const zero = text + exponent + 2;
  std::memmove(zero, zero + 1, 3);
  if (width != 0) {
    std::memmove(text + 1, text, number.size());
    *text = ' ';
  }
}

utl_Stream& operator<<(utl_Stream& stream, const char* text) {
  return stream.Print(text);
}

utl_Stream& operator<<(utl_Stream& stream, const cow_String& text) {
  return stream.Print(text);
}

utl_Stream& operator<<(utl_Stream& stream, double value) {
  return stream.Print(value, 0, stream.doublePrecision_);
}

utl_Stream& operator<<(utl_Stream& stream, float value) {
  return stream.Print(value, 0, stream.floatPrecision_);
}

utl_Stream& operator<<(utl_Stream& stream, int value) {
  return stream.Print(value, 0);
}

utl_Stream& operator<<(utl_Stream& stream, unsigned int value) {
  return stream.Print(value, 0);
}

utl_Stream& operator<<(utl_Stream& stream, char character) {
  const char text[] = {character, '\0'};
  return stream.Print(text);
}

utl_Stream& operator<<(utl_Stream& stream, utl_Stream& (*manipulator)(utl_Stream&)) {
  return manipulator(stream);
}

utl_Stream& endl(utl_Stream& stream) {
  stream.LineBreak();
  return stream;
}

utl_StreamSmallReal::utl_StreamSmallReal(utl_Stream& stream, double threshold)
    : stream_(stream) {
  stream_.smallRealActive_ = threshold > 0;
  stream_.smallRealThreshold_ = threshold > 0 ? threshold : 0;
}

utl_StreamSmallReal::~utl_StreamSmallReal() {
  stream_.smallRealActive_ = false;
  stream_.smallRealThreshold_ = 0;
}
