#pragma once

// Letter case, which names of files and of environment variables do not tell apart.

#include <string>
#include <string_view>

namespace posix {

/// The text with its letters brought to one case: texts that differ in letter case alone
/// come out the same. It is read as UTF-8; a text that is none has its letters beyond
/// ASCII left as they are.
std::string Folded(std::string_view text);

/// Whether Folded(text) is `folded`; faster.
bool IsFolded(const char* text, std::string_view folded);

}  // namespace posix
