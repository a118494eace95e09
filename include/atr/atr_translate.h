#pragma once

#include <map>

#include "atr/atr_String.h"
#include "KSTutl_export.h"

/// A message template on its way to the finished text: looked up for translation (texts
/// stay untranslated English here), filled by atr_SubstituteFormat, read by Result().
///
/// Placeholders are "%1$s", "%2$s", ... for the argument of that position, and "%s" for
/// the next position: the first "%s" is 1, the second 2. "u" may stand for "s". All else,
/// "%%" included, is plain text. A placeholder without an argument stays as it is
/// written, an argument without a placeholder is dropped, and arguments are never
/// searched for placeholders themselves.
///
/// Threads: one object by one thread at a time.
///
///     atr_translate text("Seek failed (%1$s)\nfile: %3$s");
///     atr_SubstituteFormat(text, 1, "SetFilePointer");
///     atr_SubstituteFormat(text, 3, path);
///     text.Result();   // "Seek failed (SetFilePointer)\nfile: job.dat"
class KSTUTL_EXPORT atr_translate {
 public:
  explicit atr_translate(const char* untranslated);

  /// The template with all arguments given so far.
  atr_String Result() const;

  // The rest is implementation.

 private:
  friend KSTUTL_EXPORT void atr_SubstituteFormat(atr_translate& text, int position,
                                                 const atr_String& argument);
  atr_String template_;
  std::map<int, atr_String> arguments_;
};

/// Gives the template its argument for `position`, 1 first, in place of an earlier one.
/// An argument is text up to a zero byte; one for a position below 1 is dropped.
/// Whatever converts to an atr_String will do: const char*, cow_String.
KSTUTL_EXPORT void atr_SubstituteFormat(atr_translate& text, int position,
                                        const atr_String& argument);
/// The same with the number in decimal.
KSTUTL_EXPORT void atr_SubstituteFormat(atr_translate& text, int position, int argument);
KSTUTL_EXPORT void atr_SubstituteFormat(atr_translate& text, int position,
                                        unsigned argument);
