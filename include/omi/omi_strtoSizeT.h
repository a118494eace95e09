// omi_strtoSizeT: decimal text to a size.

#pragma once

#include <cstddef>

#include "KSTutl_export.h"

/// The number that the decimal digits at the start of `text` give. Neither blanks nor a
/// sign are skipped. Without a digit the result is 0; a number that does not fit is the
/// largest `std::size_t`, 18446744073709551615.
///
/// Examples: "42" and "42x" give 42; "", " 42" and "-1" give 0.
///
/// Threads: any. REQUIRES: `text` is not null.
KSTUTL_EXPORT std::size_t omi_strtoSizeT(const char* text);
