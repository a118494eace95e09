// URLs and regular expressions.

#include <string>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "rgx/rgx_funcs.h"
#include "rgx/rgx_ReCompileCache.h"
#include "utl/utl_UrlParser.h"

namespace {

class Urls : public Subject {
 public:
  void Run(Random& random, Log& log) override {
    constexpr const char* kParts[] = {
        "kstrdb", "KSTRDB", "http", "C",   ":", "://", "//", "/",    "me", "@", "node-7",
        "a.b.c",  "4000",   ":40",  "/db", "?", "x=1", "\n", "\xE4", "+",  ".", "-"};
    constexpr const char* kSchemes[] = {"kstrdb", "http", "C",        "k.*", "+", "",
                                        "a+",     ".",    "kstrdb\n", "(",   "-"};
    std::string text = random.OneIn(2) ? "kstrdb://" : "";
    for (int left = random.Below(8); left > 0; --left) {
      text += random.Pick(kParts);
    }
    if (random.OneIn(10)) {
      text = SomeText(random);
    }
    const cow_String url{std::string_view(text)};
    const cow_String scheme = random.OneIn(6)
                                  ? cow_String(std::string_view(SomeText(random)))
                                  : cow_String(random.Pick(kSchemes));
    log.Call("utl_UrlParser", url, scheme).Result([&] {
      using Parser = utl_UrlParser;
      return Verbatim{ShownAll(
          Parser::IsUrl(url), Parser::GetScheme(url), Parser::HasHost(url),
          Parser::GetHost(url), Parser::HasPort(url), Parser::GetPort(url),
          Parser::HasPath(url), Parser::GetPath(url), Parser::IsScheme(url, scheme))};
    });
  }
};

class Patterns : public Subject {
 public:
  void Run(Random& random, Log& log) override {
    constexpr void (Patterns::*kOperations[])(Random&, Log&) = {
        &Patterns::Match, &Patterns::Match, &Patterns::Split, &Patterns::Substitute,
        &Patterns::Join,  &Patterns::Cache, &Patterns::Many};
    (this->*random.Pick(kOperations))(random, log);
  }

 private:
  static cow_String SomePattern(Random& random) {
    constexpr const char* kPieces[] = {
        "a",      "b",     "ab",    ".",       "[a-c]", "[^,]",    "\\d",   "\\w+",
        "\\s*",   "^",     "$",     "|",       "(",     ")",       "(a|b)", "(x)?",
        "(?:a)",  "(?i)b", "*",     "+",       "?",     "{2}",     "{1,3}", "\\1",
        "(b)(c)", ",",     " ",     "\\b",     "(?=a)", "(?<n>a)", "\xE4",  "\n",
        "\\",     "[",     "(?!b)", "\\Q.\\E", "x*",    "(a+)+"};
    std::string pattern;
    for (int left = random.Between(0, 5); left > 0; --left) {
      pattern += random.Pick(kPieces);
    }
    return cow_String(std::string_view(pattern));
  }
  static cow_String SomeSubject(Random& random) {
    if (random.OneIn(6)) {
      return cow_String(std::string_view(SomeText(random)));
    }
    return cow_String(std::string_view(SomeOf(random, "aaabbbcx,, .1\n", 0, 16)));
  }

  void Match(Random& random, Log& log) {
    const cow_String pattern = SomePattern(random);
    const cow_String subject = SomeSubject(random);
    const int group = random.Between(-3, 4);
    log.Call("rgx_match", pattern, subject, group).Result([&] {
      rgx_ReIterator found = rgx_match(pattern, subject);
      found.SetCurrentGroup(group);
      std::string text = ShownAll(found.Matched(), found.GroupCount(), found.String(),
                                  found.StringAsGroupNum());
      for (int n = -3; n <= found.GroupCount(); ++n) {
        text += ", " + Shown(found.NthString(n));
      }
      return Verbatim{text};
    });
  }
  void Split(Random& random, Log& log) {
    const cow_String pattern = SomePattern(random);
    const cow_String subject = SomeSubject(random);
    log.Call("rgx_split", pattern, subject).Result([&] {
      return rgx_split(pattern, subject);
    });
  }
  void Substitute(Random& random, Log& log) {
    constexpr const char* kTexts[] = {"-", "<$1>",  "$&$&",         "$`|$'", "$10", "$0",
                                      "$", "$12$2", "$99999999999", "",      "$x"};
    const cow_String pattern = SomePattern(random);
    const cow_String subject = SomeSubject(random);
    const cow_String text = random.Pick(kTexts);
    constexpr int kCounts[] = {-1, 0, 1, 2, 9, 2147483647};
    const int count = random.Pick(kCounts);
    log.Call("rgx_subn", pattern, text, subject, count).Result([&] {
      return rgx_subn(pattern, text, subject, count);
    });
  }
  void Join(Random& random, Log& log) {
    cow_1DArrayList<cow_String> items;
    for (int left = random.Below(5); left > 0; --left) {
      items.Append(SomeSubject(random));
    }
    const cow_String separator = SomeSubject(random);
    log.Call("rgx_join", items, separator).Result([&] {
      return rgx_join(items, separator);
    });
  }
  void Cache(Random& random, Log& log) {
    const cow_String pattern = SomePattern(random);
    log.Call("rgx_ReCompileCache", pattern).Result([&] {
      const auto& cache = thr_ThreadSingleton<rgx_ReCompileCache>::Instance();
      return Verbatim{ShownAll(cache.Size(), cache.IsMember(pattern))};
    });
  }
  // Fills the cache, which gets full over a few of these.
  void Many(Random& random, Log& log) {
    const int first = random.Below(200);
    log.Call("rgx_match of 30 patterns", first).Result([&] {
      for (int i = 0; i < 30; ++i) {
        rgx_match(cow_String(std::string_view("m" + std::to_string(first + i))), "m1");
      }
    });
  }
};

}  // namespace

std::unique_ptr<Subject> MakeUrls(World&, Random&) {
  return std::make_unique<Urls>();
}
std::unique_ptr<Subject> MakePatterns(World&, Random&) {
  return std::make_unique<Patterns>();
}
