// Its alphabet has "/" where the library's has "!".

#include <absl/strings/escaping.h>

#include <algorithm>
#include <string>

#include "bench_work.h"
#include "utl_base64_works.h"

namespace {

const bench::Part part([] {
  for (const auto& [name, size] : kBase64Works) {
    const std::string bytes = bench::RandomBytes(size);
    bench::Work(std::string("Base64 encode ") + name)
        .Coding(
            "Abseil", [bytes] { return absl::Base64Escape(bytes); },
            [bytes] {
              std::string text = absl::Base64Escape(bytes);
              std::replace(text.begin(), text.end(), '/', '!');
              return text;
            });
    bench::Work(std::string("Base64 decode ") + name)
        .Coding("Abseil", [text = absl::Base64Escape(bytes)] {
          std::string decoded;
          absl::Base64Unescape(text, &decoded);
          return decoded;
        });
  }
});

}  // namespace
