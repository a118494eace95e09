#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "KSTutl_export.h"

/// The string of exception texts: constant, and copied without failing (copies share
/// the text), so that an exception can hold one.
///
/// Threads: as for a plain value; copies may be used by different threads at once.
///
///     atr_String text = "Not a directory";
///     text.c_str();
class KSTUTL_EXPORT atr_String {
 public:
  /// The empty text.
  atr_String() noexcept = default;
  /// A copy of the text up to its terminator; null reads as "".
  atr_String(const char* text);
  /// A copy of whatever reads as a std::string_view: cow_String, std::string.
  template <class Text>
  requires(std::is_convertible_v<const Text&, std::string_view> &&
           !std::is_convertible_v<const Text&, const char*>) atr_String(const Text& text)
      : atr_String(Copied{}, text) {}

  /// The text and a terminating zero, never null; valid as long as a copy of this lives.
  const char* c_str() const noexcept { return text_ ? text_->c_str() : ""; }
  /// In bytes.
  int Length() const noexcept { return text_ ? static_cast<int>(text_->size()) : 0; }

  friend bool operator==(const atr_String& a, const atr_String& b) noexcept {
    return a.View() == b.View();
  }

  // The rest is implementation.

 private:
  struct Copied {};
  atr_String(Copied, std::string_view text);
  std::string_view View() const noexcept {
    return text_ ? std::string_view(*text_) : std::string_view();
  }

  std::shared_ptr<const std::string> text_;
};

KSTUTL_EXPORT std::ostream& operator<<(std::ostream& out, const atr_String& text);
