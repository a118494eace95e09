// Letter case.
//
// Not emulated: letters beyond ASCII where the system has no UTF-8 locale that knows
// their case (it need not be the current one), and letters one case of which is several
// letters.

#include "platform/posix/state/posix_letters.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>

namespace posix {
namespace {

bool IsAscii(char c) {
  return static_cast<unsigned char>(c) < 0x80;
}

char FoldedAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Null where the system has none. Never freed.
locale_t Utf8Locale() {
  static const locale_t locale = [] {
    locale_t found = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return found != nullptr ? found : newlocale(LC_CTYPE_MASK, "en_US.UTF-8", nullptr);
  }();
  return locale;
}

// Takes the first character off; false when it is invalid.
bool TakeCharacter(std::string_view& text, wint_t& character) {
  const auto first = static_cast<unsigned char>(text[0]);
  const size_t size = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  constexpr unsigned kBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  constexpr wint_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (text.size() < size || (first >= 0x80 && first < 0xC0) || first >= 0xF8) {
    return false;
  }
  character = first & kBits[size];
  for (size_t i = 1; i < size; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0) != 0x80) {
      return false;
    }
    character = character << 6 | (next & 0x3F);
  }
  text.remove_prefix(size);
  return character >= kLeast[size];
}

void AppendCharacter(std::string& text, wint_t character) {
  const auto append = [&text](wint_t byte) { text += static_cast<char>(byte); };
  const auto appendRest = [&](int shift) { append(0x80 | (character >> shift & 0x3F)); };
  if (character < 0x80) {
    append(character);
  } else if (character < 0x800) {
    append(0xC0 | character >> 6);
    appendRest(0);
  } else if (character < 0x10000) {
    append(0xE0 | character >> 12);
    appendRest(6);
    appendRest(0);
  } else {
    append(0xF0 | character >> 18);
    appendRest(12);
    appendRest(6);
    appendRest(0);
  }
}

// False when the text is not UTF-8.
bool FoldUtf8(std::string_view text, std::string& folded) {
  while (!text.empty()) {
    wint_t character;
    if (!TakeCharacter(text, character)) {
      return false;
    }
    AppendCharacter(folded, towlower_l(character, Utf8Locale()));
  }
  return true;
}

}  // namespace

std::string Folded(std::string_view text) {
  std::string folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), FoldedAscii);
  if (std::all_of(text.begin(), text.end(), IsAscii) || Utf8Locale() == nullptr) {
    return folded;
  }
  std::string characters;
  return FoldUtf8(text, characters) ? characters : folded;
}

bool IsFolded(std::string_view text, std::string_view folded) {
  const size_t shorter = std::min(text.size(), folded.size());
  size_t same = 0;
  while (same < shorter && IsAscii(folded[same]) &&
         FoldedAscii(text[same]) == folded[same]) {
    ++same;
  }
  const auto isAsciiThere = [same](std::string_view letters) {
    return same == letters.size() || IsAscii(letters[same]);
  };
  if (isAsciiThere(text) && isAsciiThere(folded)) {
    return same == text.size() && same == folded.size();
  }
  return Folded(text) == folded;
}

}  // namespace posix
