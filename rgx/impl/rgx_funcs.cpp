#include "rgx/rgx_funcs.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "nex/nex_TextException.h"
#include "rgx/impl/rgx_search.h"
#include "rgx/rgx_ReCompileCache.h"

namespace {

constexpr char kSource[] = "rgx/impl/rgx_funcs";

// How many starts have no end yet. Not guarded: one thread starts and ends.
int starts = 0;

// What is left of a subject after some matches.
class Remainder {
 public:
  explicit Remainder(std::string_view text) : text_(text), zero_(ZeroIn(text)) {}

  std::string_view Text() const { return text_; }
  /// The part that a pattern sees: up to the first zero byte. That byte is not searched
  /// anew for each match, which would make long subjects slow.
  std::string_view Visible() const { return text_.substr(0, zero_); }

  void Skip(std::size_t count) {
    text_.remove_prefix(count);
    zero_ = count <= zero_ ? zero_ - count : ZeroIn(text_);
  }

 private:
  static std::size_t ZeroIn(std::string_view text) { return rgx_upToZero(text).size(); }

  std::string_view text_;
  std::size_t zero_;
};

rgx_ReIterator ToIterator(const rgx_Found& found, const cow_String& subject) {
  return found.Matched() ? rgx_ReIterator(subject, found.Offsets(), found.GroupCount())
                         : rgx_ReIterator();
}

// The replacement with its references replaced by texts of the match `named`.
cow_String Expanded(const cow_String& replacement, const rgx_ReIterator& named) {
  // Never destroyed: a thread may still need it when the process ends.
  static const cow_String& kReference = *new cow_String("\\$([1-9]+|&|`|')");
  cow_String text;
  Remainder rest(replacement);
  for (rgx_Found found = rgx_search(kReference, rest.Visible()); found.Matched();
       found = rgx_search(kReference, rest.Visible())) {
    text += rest.Text().substr(0, found.Start());
    text += named.NthString(rgx_referenceNumber(found.Text(1)));
    rest.Skip(found.End());
  }
  text += rest.Text();
  return text;
}

// As rgx_split, without what a search for a pattern costs beyond that for a text.
cow_1DArrayList<cow_String> SplitAtLiteral(std::string_view literal,
                                           const cow_String& subject) {
  cow_1DArrayList<cow_String> fields;
  fields.Reserve(8);  // so that a short line's array does not grow several times
  const std::string_view text = subject;
  const std::string_view visible = rgx_upToZero(text);
  // One character, as most separators are, is found faster.
  const auto next = [literal, visible](std::size_t from) {
    return literal.size() == 1 ? visible.find(literal.front(), from)
                               : visible.find(literal, from);
  };
  std::size_t start = 0;
  for (std::size_t end = next(0); end != std::string_view::npos; end = next(start)) {
    if (end > start) {
      fields.Append(cow_String(text.substr(start, end - start)));
    }
    start = end + literal.size();
  }
  fields.Append(start == 0 ? subject : cow_String(text.substr(start)));
  return fields;
}

}  // namespace

void rgx_initialize(int& count) {
  if (starts++ == 0) {
    ++count;
    thr_ThreadSingleton<rgx_ReCompileCache>::Instance();
  }
}

void rgx_finalize(int& count) {
  if (--starts == 0) {
    --count;
    thr_ThreadSingleton<rgx_ReCompileCache>::Destroy();
  }
}

rgx_ReIterator rgx_match(const cow_String& pattern, const cow_String& subject) {
  const std::string_view visible = rgx_upToZero(subject);
  const rgx_Found found = rgx_search(pattern, visible);
  return ToIterator(found, subject.Substr(0, static_cast<int>(visible.size())));
}

rgx_ReIterator rgx_match(const cow_String& pattern, const char* subject) {
  return rgx_match(pattern, cow_String(subject));
}

cow_1DArrayList<cow_String> rgx_split(const cow_String& pattern,
                                      const cow_String& subject) {
  const rgx_Search search(pattern);
  if (const std::string_view literal = search.Literal(); !literal.empty()) {
    return SplitAtLiteral(literal, subject);
  }
  cow_1DArrayList<cow_String> fields;
  Remainder rest(subject);
  rgx_Found found = search.In(rest.Visible());
  if (!found.Matched()) {
    fields.Append(subject);
    return fields;
  }
  for (; found.Matched(); found = search.In(rest.Visible())) {
    if (found.End() == 0) {
      nex_TextException("rgx_split: pattern matches the empty string").Throw(kSource);
    }
    if (found.Start() > 0) {
      fields.Append(cow_String(rest.Text().substr(0, found.Start())));
    }
    rest.Skip(found.End());
  }
  fields.Append(cow_String(rest.Text()));
  return fields;
}

cow_String rgx_join(const cow_1DArrayList<cow_String>& items,
                    const cow_String& separator) {
  std::int64_t length =
      std::int64_t{separator.Length()} * std::max(items.Length() - 1, 0);
  for (const cow_String& item : items) {
    length += item.Length();
  }
  if (length > std::numeric_limits<int>::max()) {
    throw std::length_error("rgx_join: longer than 2147483647 bytes");
  }
  cow_String text = cow_String::Reserved(static_cast<int>(length));
  bool isFirst = true;
  for (const cow_String& item : items) {
    if (!isFirst) {
      text += separator;
    }
    text += item;
    isFirst = false;
  }
  return text;
}

cow_String rgx_subn(const cow_String& pattern, const cow_String& replacement,
                    const cow_String& subject, int count) {
  Remainder rest(subject);
  rgx_Found found = rgx_search(pattern, rest.Visible());
  if (!found.Matched() || count < 1) {
    return subject;
  }
  std::size_t start = found.Start();
  std::size_t end = found.End();
  // Made once: references name the groups of the first match at every place.
  const cow_String inserted =
      Expanded(replacement, ToIterator(found, cow_String(rest.Visible())));
  cow_String text;
  for (int made = 1;; ++made) {
    text += rest.Text().substr(0, start);
    text += inserted;
    if (rest.Text().empty()) {
      break;
    }
    if (end == 0) {
      // An empty match would be found again and again: copy a character and go on after
      // it.
      text += rest.Text().front();
      end = 1;
    }
    rest.Skip(end);
    if (made == count) {
      break;
    }
    found = rgx_search(pattern, rest.Visible());
    if (!found.Matched()) {
      break;
    }
    start = found.Start();
    end = found.End();
  }
  text += rest.Text();
  return text;
}
