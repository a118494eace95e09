// Base64, each result in a new string, as callers get it.

#include <array>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "bench_work.h"
#include "utl/impl/base64/utl_base64_codec.h"
#include "utl/utl_base64.h"
#include "utl_base64_works.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+!";

std::string NaiveEncode(const std::string& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '=');
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    unsigned group = 0;
    for (std::size_t i = at; i < at + 3; ++i) {
      group = group << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0);
    }
    for (std::size_t i = 0; i < 4 && at + i <= bytes.size(); ++i) {
      text[at / 3 * 4 + i] = kAlphabet[group >> (18 - 6 * i) & 63];
    }
  }
  return text;
}

std::array<unsigned char, 256> Values() {
  std::array<unsigned char, 256> values{};
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<unsigned char>(i);
  }
  return values;
}

std::string NaiveDecode(const std::string& text) {
  static const std::array<unsigned char, 256> values = Values();
  std::string bytes(text.size() / 4 * 3, ' ');
  for (std::size_t at = 0; at < text.size(); at += 4) {
    unsigned group = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
      group = group << 6 | values[static_cast<unsigned char>(text[i])];
    }
    for (std::size_t i = 0; i < 3; ++i) {
      bytes[at / 4 * 3 + i] = static_cast<char>(group >> (16 - 8 * i));
    }
  }
  const std::size_t end = text.find('=');
  return end == std::string::npos ? bytes : bytes.substr(0, end / 4 * 3 + end % 4 - 1);
}

template <class From>
void AddCopy(const bench::Work& work, const From& from) {
  work.Measured("limit memcpy", [from, to = from]() mutable {
    std::memcpy(to.data(), from.data(), from.size());
  });
}

void AddEncode(const Base64Work& about) {
  const bench::Work work(std::string("Base64 encode ") + about.name);
  const std::string bytes = bench::RandomBytes(about.size);
  work.Coding("ours", [data = cow_String(bytes)]() mutable {
    return utl_base64Encode(data, false);
  });
  work.Coding("naive", [bytes] { return NaiveEncode(bytes); });
  AddCopy(work, bytes);
  work.Counted();
}

void AddDecode(const Base64Work& about) {
  const bench::Work work(std::string("Base64 decode ") + about.name);
  const std::string text = NaiveEncode(bench::RandomBytes(about.size));
  work.Coding("ours", [data = cow_String(text)]() mutable {
    return utl_base64Decode(data, true);
  });
  work.Coding("naive", [text] { return NaiveDecode(text); });
  AddCopy(work, text);
  work.Counted();
}

void AddKernel(const utl_Base64Kernel& kernel) {
  const utl_Base64Codec codec(kernel,
                              [](std::size_t size) { return operator new(size); });
  const std::string bytes = bench::RandomBytes(4096);
  const bench::Work encode(std::string("Base64 encode 4 KB by ") + kernel.name);
  encode.Coding("ours",
                [codec, data = cow_String(bytes)] { return codec.Encode(data, false); });
  encode.Coding("naive", [bytes] { return NaiveEncode(bytes); });
  const bench::Work decode(std::string("Base64 decode 4 KB by ") + kernel.name);
  const std::string text = NaiveEncode(bytes);
  decode.Coding("ours", [codec, data = cow_String(text)]() mutable {
    return codec.Decode(data, true);
  });
  decode.Coding("naive", [text] { return NaiveDecode(text); });
}

}  // namespace

void bench::AddWorks() {
  for (const Base64Work& work : kBase64Works) {
    AddEncode(work);
    AddDecode(work);
  }
  for (const utl_Base64Kernel& kernel : utl_base64Kernels()) {
    if (kernel.available) {
      AddKernel(kernel);
    }
  }
}
