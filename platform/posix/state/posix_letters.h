#pragma once

// Letter case, which does not matter in names of files and of environment variables.

#include <string>
#include <string_view>

namespace posix {

/// The text with its letters converted to one case: texts that differ in letter case
/// alone become the same. It is read as UTF-8; in any other text letters beyond ASCII are
/// left as they are.
std::string Folded(std::string_view text);

/// Whether Folded(text) is `folded`; faster.
bool IsFolded(std::string_view text, std::string_view folded);

}  // namespace posix
