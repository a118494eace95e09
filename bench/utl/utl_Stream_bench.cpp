// One number at a time, to a stream that does nothing with it.

#include "utl/utl_Stream.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>

#include "bench_work.h"
#include "utl_Stream_works.h"

namespace {

class NullStream : public aio_ostream {
 public:
  void write(const char* data, int length) override {
    benchmark::DoNotOptimize(data);
    benchmark::DoNotOptimize(length);
  }
  void flush() override {}
  bool good() const override { return true; }
};

class TextStream : public aio_ostream {
 public:
  void write(const char* data, int length) override {
    text_.append(data, static_cast<std::size_t>(length));
  }
  void flush() override {}
  bool good() const override { return true; }
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

struct Ours {
  explicit Ours(aio_ostream& out) : stream(out, 72, 6, 15) {}
  utl_Stream stream;
};

using Buffer = std::array<char, 80>;

// `Write` is called with a value and a buffer, and returns the text's length.
template <class Value, class Write>
void AddCoding(const NumberWork<Value>& about, const char* coding, Write write) {
  bench::Work(about.name)
      .Coding(
          coding,
          [values = about.values, at = std::size_t{0}, write]() mutable {
            Buffer buffer;
            const int length = write(values[at++ % kNumbers], buffer);
            benchmark::DoNotOptimize(buffer);
            return length;
          },
          [about, write] {
            std::string text;
            for (const Value value : about.values) {
              Buffer buffer;
              const int length = write(value, buffer);
              text += about.InStyle({buffer.data(), static_cast<std::size_t>(length)});
            }
            return text;
          });
}

template <class Value>
void AddOurs(const NumberWork<Value>& about) {
  bench::Work(about.name)
      .Coding(
          "ours",
          [values = about.values, at = std::size_t{0},
           null = std::make_shared<NullStream>(),
           ours = std::shared_ptr<Ours>()]() mutable {
            if (!ours) {
              ours = std::make_shared<Ours>(*null);
            }
            ours->stream << values[at++ % kNumbers];
          },
          [about] {
            TextStream out;
            Ours ours(out);
            for (const Value value : about.values) {
              ours.stream << value;
            }
            return out.Text();
          })
      .Counted(static_cast<int>(kNumbers));
}

void AddReal(const NumberWork<double>& about) {
  AddOurs(about);
  AddCoding(about, "snprintf", [](double value, Buffer& buffer) {
    return std::snprintf(buffer.data(), buffer.size(), "%.15g", value);
  });
  AddCoding(about, "to_chars", [](double value, Buffer& buffer) {
    return static_cast<int>(std::to_chars(buffer.data(), buffer.data() + buffer.size(),
                                          value, std::chars_format::general, 15)
                                .ptr -
                            buffer.data());
  });
}

int ToChars(int value, Buffer& buffer) {
  return static_cast<int>(
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr -
      buffer.data());
}

void AddInt() {
  const NumberWork<int> about = IntWork();
  AddOurs(about);
  AddCoding(about, "snprintf", [](int value, Buffer& buffer) {
    return std::snprintf(buffer.data(), buffer.size(), "%i", value);
  });
  AddCoding(about, "to_chars and a virtual write",
            [out = std::make_shared<NullStream>()](int value, Buffer& buffer) {
              aio_ostream* stream = out.get();
              benchmark::DoNotOptimize(stream);
              const int length = ToChars(value, buffer);
              stream->write(buffer.data(), length);
              return length;
            });
  AddCoding(about, "limit to_chars", ToChars);
}

}  // namespace

void bench::AddWorks() {
  for (const NumberWork<double>& about : RealWorks()) {
    AddReal(about);
  }
  AddInt();
}
