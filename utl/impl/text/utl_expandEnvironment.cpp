#include "utl/impl/text/utl_expandEnvironment.h"

#include <string>
#include <string_view>
#include <vector>

#include "utl/impl/text/utl_ascii.h"

namespace {

// A longer name counts as unset.
constexpr std::size_t kLongestName = 255;

// A variable may contain references to itself, even several; expanding them must come to
// an end.
constexpr int kMostReplacements = 1000;
constexpr std::size_t kLongestText = 1 << 20;

struct Range {
  std::size_t begin, end;
};

// A reference: its place in the text, and the name in it.
struct Reference : Range {
  std::string_view name;
};

bool IsNameCharacter(char c) {
  return utl_isLetter(c) || utl_isDigit(c) || c == '_';
}

using LookUp = char* (*)(const char*);

const char* Value(std::string_view name, LookUp lookUp) {
  return name.size() > kLongestName ? nullptr : lookUp(std::string(name).c_str());
}

// The next %NAME% at or after `from`; false when there is none.
bool NextPercent(std::string_view text, std::size_t from, Reference& found) {
  found.begin = text.find('%', from);
  if (found.begin == std::string_view::npos) {
    return false;
  }
  const std::size_t close = text.find('%', found.begin + 1);
  if (close == std::string_view::npos) {
    return false;
  }
  found.end = close + 1;
  found.name = text.substr(found.begin + 1, close - found.begin - 1);
  return true;
}

// The next $NAME at or after `from`; false when there is none. A "$" that no letter
// follows has the empty name, which no variable has.
bool NextDollar(std::string_view text, std::size_t from, Reference& found) {
  found.begin = text.find('$', from);
  if (found.begin >= text.size() - 1) {
    return false;
  }
  const std::size_t name = found.begin + 1;
  found.end = name;
  if (utl_isLetter(text[name])) {
    while (found.end < text.size() && IsNameCharacter(text[found.end])) {
      ++found.end;
    }
  }
  found.name = text.substr(name, found.end - name);
  return true;
}

template <class NextReference>
void Expand(std::string& text, NextReference next, LookUp lookUp) {
  // References to unset variables that the search has passed. A value right after one may
  // turn it into another name.
  std::vector<Range> passed;
  std::size_t from = 0;
  Reference found;
  for (int replaced = 0; replaced < kMostReplacements && text.size() <= kLongestText &&
                         next(text, from, found);) {
    if (const char* const value = Value(found.name, lookUp)) {
      text.replace(found.begin, found.end - found.begin, value);
      ++replaced;
      from = found.begin;
      if (!passed.empty() && passed.back().end == from) {
        from = passed.back().begin;
        passed.pop_back();
      }
    } else {
      from = found.end;
      if (found.name.size() <= kLongestName) {  // a longer one stays unset
        passed.push_back(found);
      }
    }
  }
}

bool Holds(const cow_String& text, char c) {
  return std::string_view(text).find(c) != std::string_view::npos;
}

}  // namespace

void utl_expandEnvironment(cow_String& text, LookUp lookUp) {
  if (!Holds(text, '%') && !Holds(text, '$')) {
    return;
  }
  std::string expanded{std::string_view(text)};
  Expand(expanded, NextPercent, lookUp);
  Expand(expanded, NextDollar, lookUp);
  text = cow_String(expanded);
}
