// Splitting a line into fields, substituting in it, and one match.

#include "rgx/rgx_funcs.h"

#include <pcre2.h>

#include <string>
#include <string_view>
#include <vector>

#include "bench_work.h"
#include "rgx_funcs_works.h"

namespace {

using Fields = cow_1DArrayList<cow_String>;

// A match for callers and a copy of the remaining text at every step.
Fields NaiveSplit(const cow_String& pattern, const cow_String& subject) {
  Fields fields;
  cow_String rest = subject;
  for (rgx_ReIterator found = rgx_match(pattern, rest); found.Matched();
       found = rgx_match(pattern, rest)) {
    if (const cow_String before = found.NthString(-2); !before.IsEmpty()) {
      fields.Append(before);
    }
    rest = found.NthString(-1);
  }
  fields.Append(rest);
  return fields;
}

// By hand, for this separator alone.
template <class List, class Append>
List SplitByHand(std::string_view line, Append append) {
  List fields;
  std::size_t from = 0;
  for (std::size_t to; (to = line.find(',', from)) != line.npos; from = to + 1) {
    append(fields, line.substr(from, to - from));
  }
  append(fields, line.substr(from));
  return fields;
}

Fields SplitToStrings(std::string_view line) {
  return SplitByHand<Fields>(
      line, [](Fields& to, std::string_view field) { to.Append(cow_String(field)); });
}

std::vector<std::string_view> SplitToViews(std::string_view line) {
  return SplitByHand<std::vector<std::string_view>>(
      line, [](auto& to, std::string_view field) { to.push_back(field); });
}

void AddSplit(const SplitWork& about) {
  const bench::Work work(about.name);
  const cow_String pattern(",");
  const cow_String line(SplitLine(about.fields));
  work.Coding(
      "ours", [=] { return rgx_split(pattern, line); },
      [=] { return JoinedFields(rgx_split(pattern, line)); });
  work.Coding(
      "naive", [=] { return NaiveSplit(pattern, line); },
      [=] { return JoinedFields(NaiveSplit(pattern, line)); });
  work.Coding(
      "by hand to the same strings", [=] { return SplitToStrings(line); },
      [=] { return JoinedFields(SplitToStrings(line)); });
  work.Coding(
      "limit by hand to views", [=] { return SplitToViews(line); },
      [=] { return JoinedFields(SplitToViews(line)); });
  work.Counted();
}

// PCRE2 called directly, with its match data kept.
class Engine {
 public:
  explicit Engine(const char* pattern)
      : code_(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED,
                            0, &error_, &offset_, nullptr)),
        data_(pcre2_match_data_create(16, nullptr)) {}
  ~Engine() {
    pcre2_match_data_free(data_);
    pcre2_code_free(code_);
  }
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  std::string_view Group(std::string_view subject, std::size_t group) const {
    pcre2_match(code_, reinterpret_cast<PCRE2_SPTR>(subject.data()), subject.size(), 0, 0,
                data_, nullptr);
    const PCRE2_SIZE* const at = pcre2_get_ovector_pointer(data_) + 2 * group;
    return subject.substr(at[0], at[1] - at[0]);
  }

 private:
  int error_ = 0;
  PCRE2_SIZE offset_ = 0;
  pcre2_code* code_;
  pcre2_match_data* data_;
};

void AddMatch() {
  static constexpr char kPattern[] = "(\\w+)=(\\d+)";
  static constexpr char kSubject[] = "the cpus=4 of it";
  const bench::Work work("match and one group");
  work.Coding("ours", [pattern = cow_String(kPattern), subject = cow_String(kSubject)] {
    return rgx_match(pattern, subject).NthString(2);
  });
  static const Engine engine(kPattern);
  work.Coding("PCRE2", [subject = std::string(kSubject)] {
    return std::string(engine.Group(subject, 2));
  });
  work.Counted();
}

void AddSubstitution() {
  const cow_String line(SplitLine(1000));
  const bench::Work work("substitute in 1000 places");
  work.Coding("ours", [=, pattern = cow_String(","), by = cow_String("; ")] {
    return rgx_subn(pattern, by, line, 1 << 30);
  });
  work.Coding("by hand", [text = std::string(line)] {
    std::string result;
    for (const char c : text) {
      result += c == ',' ? "; " : std::string_view(&c, 1);
    }
    return result;
  });
  work.Counted();
}

}  // namespace

void bench::AddWorks() {
  for (const SplitWork& work : kSplitWorks) {
    AddSplit(work);
  }
  AddMatch();
  AddSubstitution();
}
