// The parts of a URL, and whether a path is one.

#include "utl/utl_UrlParser.h"

#include <pcre2.h>

#include <cstring>
#include <string>
#include <string_view>

#include "bench_work.h"
#include "rgx/rgx_funcs.h"

namespace {

constexpr char kUrl[] = "kstrdb://user@node-7:4000/db/file?x=1";

// PCRE2 called directly, its match data kept.
class Engine {
 public:
  std::string_view Host(std::string_view url) const {
    if (!Matches(url)) {
      return {};
    }
    const PCRE2_SIZE* const offsets = pcre2_get_ovector_pointer(data_);
    return url.substr(offsets[4], offsets[5] - offsets[4]);
  }
  bool Matches(std::string_view url) const {
    return pcre2_match(code_, reinterpret_cast<PCRE2_SPTR>(url.data()), url.size(), 0, 0,
                       data_, nullptr) > 0;
  }

 private:
  int error_ = 0;
  PCRE2_SIZE offset_ = 0;
  pcre2_code* code_ = pcre2_compile(
      reinterpret_cast<PCRE2_SPTR>("^[a-zA-Z\\+\\.-]+://([^@]+@)?([a-zA-Z0-9\\.-]+)"),
      PCRE2_ZERO_TERMINATED, 0, &error_, &offset_, nullptr);
  pcre2_match_data* data_ = pcre2_match_data_create(16, nullptr);
};

void AddHost() {
  static const auto* const engine = new Engine;  // kept to the end
  const bench::Work match("URL host: match");
  match.Coding("ours", [url = cow_String(kUrl)] { return utl_UrlParser::HasHost(url); });
  match.Coding("PCRE2", [url = std::string(kUrl)] { return engine->Matches(url); });
  match.Counted();
  const bench::Work text("URL host: text");
  text.Coding("ours", [url = cow_String(kUrl)] { return utl_UrlParser::GetHost(url); });
  text.Coding("PCRE2",
              [url = std::string(kUrl)] { return std::string(engine->Host(url)); });
  text.Counted();
}

bool NaiveIsUrl(const cow_String& s) {
  return rgx_match("([a-zA-Z\\+\\.-]+):", s).Matched() &&
         rgx_match("^([a-zA-Z\\+\\.-]+):", s).NthString(1) == "kstrdb";
}

void AddIsUrl() {
  constexpr struct {
    const char* name;
    const char* path;
  } kPaths[] = {
      {"is it a URL: no colon", "\\home\\user\\project\\results\\job_17.out"},
      {"is it a URL: short name", "job_17.out"},
      {"is it a URL: drive", "Z:\\home\\user\\project\\results\\job_17.out"},
      {"is it a URL: yes", kUrl},
  };
  for (const auto& [name, path] : kPaths) {
    const bench::Work work(name);
    work.Coding("ours", [s = cow_String(path)] { return utl_UrlParser::IsUrl(s); });
    work.Coding("naive", [s = cow_String(path)] { return NaiveIsUrl(s); });
    work.Measured("limit memchr", [s = std::string_view(path)] {
      return std::memchr(s.data(), ':', s.size());
    });
    work.Counted();
  }
}

}  // namespace

void bench::AddWorks() {
  AddHost();
  AddIsUrl();
}
