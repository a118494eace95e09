// Its alphabet has "/" where the library's has "!".

#include <openssl/evp.h>

#include <algorithm>
#include <string>

#include "bench_work.h"
#include "utl_base64_works.h"

namespace {

const unsigned char* Unsigned(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string Encode(const std::string& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, ' ');
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), Unsigned(bytes),
                  static_cast<int>(bytes.size()));
  return text;
}

// It leaves the padding's zeros at the end.
std::string Decode(const std::string& text) {
  std::string bytes(text.size() / 4 * 3, ' ');
  EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()), Unsigned(text),
                  static_cast<int>(text.size()));
  bytes.resize(bytes.size() -
               static_cast<std::size_t>(std::count(text.end() - 2, text.end(), '=')));
  return bytes;
}

const bench::Part part([] {
  for (const auto& [name, size] : kBase64Works) {
    const std::string bytes = bench::RandomBytes(size);
    bench::Work(std::string("Base64 encode ") + name)
        .Coding(
            "OpenSSL", [bytes] { return Encode(bytes); },
            [bytes] {
              std::string text = Encode(bytes);
              std::replace(text.begin(), text.end(), '/', '!');
              return text;
            });
    bench::Work(std::string("Base64 decode ") + name)
        .Coding("OpenSSL", [text = Encode(bytes)] { return Decode(text); });
  }
});

}  // namespace
