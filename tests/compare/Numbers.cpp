// Numeric text streams.

#include <algorithm>
#include <initializer_list>
#include <string>

#include "aio/aio_ostrstream.h"
#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_Stream.h"

namespace {

class Numbers : public Subject {
 public:
  explicit Numbers(Random& random)
      // In braces these are drawn from the left to the right.
      : stream_{text_, Pick({0, 20, 72, 80, -1, 100000}, random),
                Pick({0, 6, 9, -1, 20}, random), Pick({0, 6, 15, 17, -1, 40}, random)} {}

  void Run(Random& random, Log& log) override {
    constexpr void (Numbers::*kOperations[])(Random&, Log&) = {
        &Numbers::Real,  &Numbers::Real,  &Numbers::Real,
        &Numbers::Small, &Numbers::Whole, &Numbers::Text,
        &Numbers::Lines, &Numbers::Plain, &Numbers::Fix};
    (this->*random.Pick(kOperations))(random, log);
  }

 private:
  static int Pick(std::initializer_list<int> values, Random& random) {
    return values.begin()[random.Below(static_cast<int>(values.size()))];
  }
  static int Width(Random& random) {
    return Pick({0, 0, 0, 1, 5, 8, 10, 15, 25, 79, 80, 100, 300, -1, -12, -100}, random);
  }
  static int Precision(Random& random) {
    return Pick({0, 1, 2, 3, 6, 9, 15, 16, 17, 18, 40, 80, 100, 400, -1, -6}, random);
  }

  // The text so far, of which only the end is told once it has grown.
  std::string Written() const {
    char* const text = text_.adoptString(&::operator new);
    const std::string all(text, static_cast<std::size_t>(text_.length()));
    ::operator delete(text);
    return ShownAll(all.size(), Checksum(all),
                    all.size() > 150 ? all.substr(all.size() - 150) : all);
  }

  void Real(Random& random, Log& log) {
    const double value = SomeDouble(random);
    const int width = Width(random);
    const int precision = Precision(random);
    const bool isFloat = random.OneIn(3);
    log.Call("utl_Stream.Print", value, width, precision, isFloat).Result([&] {
      if (isFloat) {
        stream_.Print(static_cast<float>(value), width, precision);
      } else {
        stream_.Print(value, width, precision);
      }
      return Verbatim{Written()};
    });
  }
  void Plain(Random& random, Log& log) {
    const double value = SomeDouble(random);
    const int number = SomeInt(random);
    log.Call("utl_Stream.<<", value, number).Result([&] {
      stream_ << value << " " << static_cast<float>(value) << ',' << number
              << cow_String(" ") << static_cast<unsigned>(number) << endl;
      return Verbatim{Written()};
    });
  }
  void Small(Random& random, Log& log) {
    const double threshold = SomeDouble(random);
    const double value = SomeDouble(random);
    log.Call("utl_StreamSmallReal", threshold, value).Result([&] {
      const utl_StreamSmallReal guard(stream_, threshold);
      stream_ << value;
      stream_.Print(threshold, 0, 0);
      return Verbatim{Written()};
    });
  }
  void Whole(Random& random, Log& log) {
    const int value = SomeInt(random);
    const int width = Width(random);
    const bool isUnsigned = random.OneIn(2);
    log.Call("utl_Stream.Print of an integer", value, width, isUnsigned).Result([&] {
      if (isUnsigned) {
        stream_.Print(static_cast<unsigned>(value), width);
      } else {
        stream_.Print(value, width);
      }
      return Verbatim{Written()};
    });
  }
  void Text(Random& random, Log& log) {
    const std::string text = SomeText(random);
    log.Call("utl_Stream.Print of a text", text).Result([&] {
      stream_.Print(cow_String(std::string_view(text)));
      return Verbatim{Written()};
    });
  }
  void Lines(Random& random, Log& log) {
    const int kind = random.Below(4);
    log.Call("utl_Stream, lines", kind).Result([&] {
      switch (kind) {
        case 0:
          stream_.LineBreak();
          break;
        case 1:
          stream_.Flush();
          break;
        default:
          stream_.OptionalLineBreak();
      }
      return Verbatim{Written()};
    });
  }
  void Fix(Random& random, Log& log) {
    std::string text = SomeOf(random, "0123456789.e+- inf", 0, 14);
    if (random.OneIn(2)) {
      text = SomeOf(random, " ", 0, 3);
      text += random.OneIn(2) ? "1.5e+" : "2.e-";
      text += SomeOf(random, "0015", 0, 4);
    }
    const int width = Width(random);
    log.Call("utl_Stream.FixNumericString", text, width).Result([&] {
      char buffer[40] = {};
      std::copy(text.begin(), text.end(), buffer);
      utl_Stream::FixNumericString(buffer, width);
      return std::string(buffer);
    });
  }

  aio_ostrstream text_;
  utl_Stream stream_;
};

}  // namespace

std::unique_ptr<Subject> MakeNumbers(World&, Random& random) {
  return std::make_unique<Numbers>(random);
}
