// Numbers and texts in any order: numbers are written as printf writes them, in the
// product's style, and lines are broken as the rules coded a second time have it.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "fuzz/common/Choices.h"
#include "fuzz/common/Require.h"
#include "utl/PrintfModel.h"
#include "utl/RecordingStream.h"
#include "utl/StreamLinesModel.h"
#include "utl/utl_Stream.h"

namespace {

// Run times differ in the signs of what is no number.
double TakeReal(Choices& choices) {
  const auto value = choices.Take<double>();
  return std::isnan(value) ? std::numeric_limits<double>::infinity() : value;
}

void PrintReal(Choices& choices, utl_Stream& stream, StreamLinesModel& lines) {
  const int width = choices.Take<std::int8_t>() % 100;
  const int precision = choices.Take<std::int8_t>() % 40;
  const double value = TakeReal(choices);
  const double threshold = choices.Below(2) == 0 ? 0 : TakeReal(choices);
  {
    const utl_StreamSmallReal guard(stream, threshold);
    stream.Print(value, width, precision);
  }
  const bool isZero = threshold > 0 && std::fabs(value) < threshold;
  lines.Print(PrintfModel::Real(isZero ? 0 : value, width, precision));
}

void PrintWhole(Choices& choices, utl_Stream& stream, StreamLinesModel& lines) {
  // NOLINTNEXTLINE(bugprone-signed-char-misuse): a small number, not a character.
  const int width = choices.Take<std::int8_t>();
  const auto value = choices.Take<std::int64_t>();
  stream.Print(value, width);
  stream.Print(static_cast<int>(value), width);
  lines.Print(PrintfModel::Whole(value, width));
  lines.Print(PrintfModel::Whole(static_cast<int>(value), width));
}

void PrintText(Choices& choices, utl_Stream& stream, StreamLinesModel& lines) {
  const std::string text(choices.TakeBytes(choices.Take<std::uint8_t>()));
  stream << cow_String(text);
  lines.Print(text.substr(0, text.find('\0')));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Choices choices(data, size);
  const int lineWidth = choices.Take<std::uint8_t>();
  RecordingStream out;
  utl_Stream stream(out, lineWidth, 6, 6);
  StreamLinesModel lines(static_cast<std::size_t>(lineWidth));
  while (!choices.AtEnd()) {
    switch (choices.Below(6)) {
      case 0:
        PrintReal(choices, stream, lines);
        break;
      case 1:
        PrintWhole(choices, stream, lines);
        break;
      case 2:
        PrintText(choices, stream, lines);
        break;
      case 3:
        stream.OptionalLineBreak();
        lines.OptionalLineBreak();
        break;
      case 4:
        stream << endl;
        lines.LineBreak();
        break;
      default:
        stream.Flush();
        lines.Flush();
    }
  }
  Require(out.Text() == lines.Text());
  return 0;
}
