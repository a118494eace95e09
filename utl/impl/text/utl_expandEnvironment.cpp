#include "utl/impl/text/utl_expandEnvironment.h"

#include <cstdlib>
#include <string>
#include <string_view>

namespace {

// A longer name counts as unset.
constexpr std::size_t kLongestName = 255;

// A variable may contain its own reference; that must come to an end.
constexpr int kMostReplacements = 1000;

const char* Value(std::string_view name) {
  return name.size() > kLongestName ? nullptr : std::getenv(std::string(name).c_str());
}

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsNameCharacter(char c) {
  return IsLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

// One reference: its range in the text, and the name within.
struct Reference {
  std::size_t begin, end;
  std::string_view name;
};

// The next %NAME% at or behind `from`; false when there is none.
bool NextPercent(std::string_view text, std::size_t from, Reference& found) {
  found.begin = text.find('%', from);
  if (found.begin == std::string_view::npos) return false;
  const std::size_t close = text.find('%', found.begin + 1);
  if (close == std::string_view::npos) return false;
  found.end = close + 1;
  found.name = text.substr(found.begin + 1, close - found.begin - 1);
  return true;
}

// The next $NAME at or behind `from`; false when there is none. A "$" that no letter
// follows starts no reference.
bool NextDollar(std::string_view text, std::size_t from, Reference& found) {
  do {
    found.begin = text.find('$', from);
    if (found.begin >= text.size() - 1) return false;
    from = found.begin + 1;
  } while (!IsLetter(text[from]));
  found.end = from;
  while (found.end < text.size() && IsNameCharacter(text[found.end])) ++found.end;
  found.name = text.substr(from, found.end - from);
  return true;
}

template <class NextReference>
void Expand(cow_String& text, NextReference next) {
  std::size_t from = 0;
  Reference reference;
  for (int replaced = 0; replaced < kMostReplacements && next(text, from, reference);) {
    const char* value = Value(reference.name);
    if (value == nullptr) {
      from = reference.end;
      continue;
    }
    const std::string_view whole = text;
    cow_String expanded(whole.substr(0, reference.begin));
    expanded += value;
    expanded += whole.substr(reference.end);
    text = expanded;
    from = 0;
    ++replaced;
  }
}

}  // namespace

void utl_expandEnvironment(cow_String& text) {
  Expand(text, NextPercent);
  Expand(text, NextDollar);
}
