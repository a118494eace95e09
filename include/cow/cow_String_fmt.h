#pragma once

#include <fmt/format.h>

#include "cow/cow_String.h"

/// Formats a cow_String through {fmt}, with every option that the format of a text has.
/// Needs {fmt} 9 or later, which nothing else here does.
///
///     fmt::print("{:<8}{:>6}\n", name, count);
template <>
struct fmt::formatter<cow_String> : fmt::formatter<fmt::string_view> {
  template <class Context>
  auto format(const cow_String& text, Context& context) const -> decltype(context.out()) {
    const fmt::string_view view(text.c_str(), static_cast<std::size_t>(text.Length()));
    return fmt::formatter<fmt::string_view>::format(view, context);
  }
};
