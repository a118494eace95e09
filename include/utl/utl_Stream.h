#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>

#include "aio/aio_ostream.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// The integers longer than an int, which differ between the targets.
template <class Value>
concept utl_LongInteger = std::same_as<Value, long> || std::same_as<Value, long long> ||
    std::same_as<Value, unsigned long> || std::same_as<Value, unsigned long long>;

/// Writes text and numbers to an output stream, numbers in the product's style, and
/// breaks long lines where the caller allows it.
///
/// Real numbers are written by the rules of printf's %g, and always so that they can be
/// told from whole numbers: 3.0 is "3.". Exponents have two digits, or three where two
/// are not enough. The "C" locale is used, whatever the process's locale is.
///
/// Threads: one object, and the stream under it, is used by one thread at a time.
///
///     utl_Stream out(file, 72, 6, 15);
///     out << "force " << 1200.0 << " N";
///     out.OptionalLineBreak();             // the line may be broken here
///     out << ", moment " << 0.25 << endl;  // force 1200. N, moment 0.25
///
/// Lines. At an optional break the text that follows is held back, as long as it still
/// fits the line. The first piece that does not fit sends a newline, the held text and
/// itself out; from then on text goes out directly. A second optional break writes what
/// is held, and the line may now be broken there instead.
///
/// Columns are counted in bytes; newlines inside a text count like other characters.
/// Errors are those of the underlying stream.
class KSTUTL_EXPORT utl_Stream {
 public:
  /// `out` is not owned. Lines are broken when they would be longer than `lineWidth`;
  /// the precisions are those of operator<< for float and double, as Print takes them.
  utl_Stream(aio_ostream& out, int lineWidth, int floatPrecision, int doublePrecision);

  /// Text that is held back is lost: end with LineBreak or Flush.
  ~utl_Stream();

  utl_Stream(const utl_Stream&) = delete;
  utl_Stream& operator=(const utl_Stream&) = delete;

  /// Writes a number, right-justified in a field of `width` characters, or left-justified
  /// in -`width` if that is negative; with `precision` significant digits.
  ///
  /// A width of 0 is no field. A precision of 0 means 6 digits without a field and, which
  /// is kept for the sake of existing output, one digit within a field. A negative
  /// precision means 6. The field may come out one character longer than asked for
  /// because of FixNumericString.
  ///
  ///     out.Print(3.0, 0, 0);      // "3."
  ///     out.Print(3.0, 5, 0);      // "   3."
  ///     out.Print(2.75, 8, 2);     // "     2.8"
  utl_Stream& Print(double value, int width, int precision);
  utl_Stream& Print(float value, int width, int precision);

  /// The same for whole numbers, which get no point.
  utl_Stream& Print(int value, int width);
  utl_Stream& Print(unsigned int value, int width);
  template <utl_LongInteger Value>
  utl_Stream& Print(Value value, int width) {
    if constexpr (std::signed_integral<Value>) {
      return PrintLong(std::int64_t{value}, width);
    } else {
      return PrintLong(std::uint64_t{value}, width);
    }
  }

  /// Writes text up to its first zero byte. A text without an optional break before it
  /// goes out at once; when the line passes 500 characters that way, the stream is
  /// flushed and the columns are counted anew, without a newline.
  utl_Stream& Print(const cow_String& text);
  /// REQUIRES: `text` is not null.
  utl_Stream& Print(const char* text);

  /// Writes what is held, a newline, and flushes. The count of columns then starts from
  /// the length of what was held, not from 0: existing output is broken by that count.
  void LineBreak();

  /// The line may be broken here.
  void OptionalLineBreak();

  /// Writes what is held and flushes; columns are counted from 0. An optional break
  /// stays in force.
  void Flush();

  /// Brings a number that printf has formatted into the product's style, in place.
  ///
  /// Without a point and without an 'e' it gets a point at its end; a blank at its front
  /// is dropped for it. Otherwise an exponent of three digits that begin with 0, as some
  /// run times print it, loses that 0; a field (`width` not 0) gets a blank in front for
  /// it. All else stays as it is.
  ///
  ///     "3"  ->  "3."          " 3"  ->  "3."          "inf"  ->  "inf."
  ///     "1.5e+005"  ->  "1.5e+05"
  ///     "  1.5e+005", width 10  ->  "   1.5e+05"
  ///
  /// REQUIRES: room for one more character after the terminator.
  static void FixNumericString(char* text, int width);

  // The rest is implementation.

 private:
  friend class utl_StreamSmallReal;

  utl_Stream& PrintLong(std::int64_t value, int width);
  utl_Stream& PrintLong(std::uint64_t value, int width);
  utl_Stream& PrintReal(double value, int width, int precision);
  utl_Stream& PrintAfterBreak(std::string_view text);
  utl_Stream& PrintDigits(std::uint64_t magnitude, bool isNegative, int width);
  utl_Stream& PrintInField(std::string_view digits, int width);
  utl_Stream& PrintText(std::string_view text);
  void Write(std::string_view text);
  void WritePending();

  aio_ostream& out_;
  int lineWidth_;
  bool pendingBreak_ = false;
  cow_String pending_;
  bool smallRealActive_ = false;
  double smallRealThreshold_ = 0;
  int floatPrecision_;
  int doublePrecision_;
  std::int64_t column_ = 0;

  friend KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, double value);
  friend KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, float value);
};

KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, const char* text);
KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, const cow_String& text);
/// Without a field, in the precision given to the constructor for the type.
KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, double value);
KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, float value);
KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, int value);
KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, unsigned int value);
template <utl_LongInteger Value>
utl_Stream& operator<<(utl_Stream& stream, Value value) {
  return stream.Print(value, 0);
}
/// The character; `signed char` and `unsigned char` are numbers, and bool is 1 or 0.
KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream, char character);
/// Applies a manipulator, of which endl is one.
KSTUTL_EXPORT utl_Stream& operator<<(utl_Stream& stream,
                                     utl_Stream& (*manipulator)(utl_Stream&));

/// LineBreak as a manipulator.
KSTUTL_EXPORT utl_Stream& endl(utl_Stream& stream);

/// While it lives, its stream prints real numbers of a magnitude below a threshold as
/// zero. Guards do not nest: the end of any of them ends the effect, so that of an outer
/// guard too.
///
///     utl_StreamSmallReal guard(out, 1e-20);
///     out << 1e-300;   // "0."
class KSTUTL_EXPORT utl_StreamSmallReal {
 public:
  /// A threshold that is not above 0 ends the effect instead. A magnitude equal to the
  /// threshold is printed.
  utl_StreamSmallReal(utl_Stream& stream, double threshold);
  ~utl_StreamSmallReal();
  utl_StreamSmallReal(const utl_StreamSmallReal&) = delete;
  utl_StreamSmallReal& operator=(const utl_StreamSmallReal&) = delete;

  // The rest is implementation.

 private:
  utl_Stream& stream_;
};
