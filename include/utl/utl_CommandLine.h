#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "cow/cow_1DArrayList.h"
#include "cow/cow_Map.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "nex/nex_TextException.h"
#include "thr/thr_GlobalSingleton.h"

/// A required option was not given. Its AsString() is "Command line argument NAME is
/// required.", built when it is asked for.
class KSTUTL_EXPORT utl_MissingCmdLineArgException : public nex_TextException {
 public:
  explicit utl_MissingCmdLineArgException(const cow_String& name);

  atr_String AsString() const override;
  [[noreturn]] void Propagate() const override;
};

/// An option's value is not of the type that was asked for. Its AsString() is "Command
/// line argument NAME must have type TYPE", built when it is asked for.
class KSTUTL_EXPORT utl_CmdLineArgFormatException : public nex_TextException {
 public:
  utl_CmdLineArgFormatException(const cow_String& name, const atr_String& type);

  atr_String AsString() const override;
  [[noreturn]] void Propagate() const override;

  // The rest is implementation.

 private:
  cow_String name_;
};

/// The arguments with which the executable was started: one object per process,
/// `thr_GlobalSingleton<utl_CommandLine>::Instance()`, filled once at start-up through
/// utl_CommandLineLoader. Until then it has no arguments.
///
/// An argument that begins with "-" names an option; the argument right after it is the
/// option's value unless that begins with "-" too. An option without a value has the
/// value "". Everything else is known by its position only. There is no other syntax: of
/// "--name" the option is "-name", and no value can be a negative number. An option given
/// twice keeps its last value.
///
/// Threads: every query may be called from any thread. The strings that queries return
/// share nothing with the stored ones. Queries change nothing.
///
///     // prog -job beam -interactive -cpus 4
///     utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
///     line.ConstGetValue("job");               // "beam"
///     line.ConstGetValueAsInt("cpus", 1);      // 4
///     line.IsMember("interactive");            // true
class KSTUTL_EXPORT utl_CommandLine {
 public:
  /// No arguments. For the singleton.
  utl_CommandLine();
  utl_CommandLine(const utl_CommandLine&) = delete;
  utl_CommandLine& operator=(const utl_CommandLine&) = delete;
  ~utl_CommandLine();

  /// The value of option `name` (without its "-"). Throws utl_MissingCmdLineArgException
  /// if it was not given.
  cow_String ConstGetValue(const cow_String& name) const;
  /// The value, or `dflt` if the option was not given.
  cow_String ConstGetValue(const cow_String& name, const cow_String& dflt) const;

  /// The value as a decimal number. Throws utl_MissingCmdLineArgException if the option
  /// was not given, utl_CmdLineArgFormatException with the type "integer" if any
  /// character is not a digit; so a sign is never accepted. An option without a value
  /// gives 0. There is no range check: a number that does not fit an int is cut to its
  /// lowest 32 bits, so "4294967299" gives 3.
  int ConstGetValueAsInt(const cow_String& name) const;
  /// The same, but `dflt` if the option was not given. An option without a value still
  /// gives 0, and a malformed value throws.
  int ConstGetValueAsInt(const cow_String& name, int dflt) const;

  /// The two forms for 64 bits; a number that does not fit is the largest std::size_t
  /// (see omi_strtoSizeT). The type in the exception is "integer" here too.
  std::size_t ConstGetValueAsSizeT(const cow_String& name) const;
  std::size_t ConstGetValueAsSizeT(const cow_String& name, std::size_t dflt) const;

  /// Whether the option was given, with or without a value.
  bool IsMember(const cow_String& name) const;

  /// Argument number i, as it was given: 0 is the first, after SetArgs the program's
  /// name. Throws nex_AssertException unless 0 <= i < Size().
  cow_String ConstGet(int i) const;
  /// The number of arguments, the program's name included.
  int Size() const;

  /// The value read as KEY=VALUE,KEY=VALUE,...: "a=1,b" gives a -> "1", b -> "". The
  /// first "=" of a piece separates; the pieces are those of rgx_split, so that only the
  /// last piece can be empty; it then gives an empty key. Throws
  /// utl_MissingCmdLineArgException if the option was not given.
  cow_Map<cow_String, cow_String> ConstGetValueAsDictionary(const cow_String& name) const;

  // The rest is implementation.

 private:
  friend class utl_CommandLineLoader;

  // See utl_CommandLineLoader.
  void SetArgs(int argc, char** argv);
  void SetArgsList(cow_1DArrayList<cow_String> args);

  void Classify(const cow_1DArrayList<cow_String>& args, int first);
  void ApplyErrorOption() const;
  const cow_String* Look(const cow_String& name) const;
  std::optional<cow_String> Value(const cow_String& name) const;
  cow_String RequiredValue(const cow_String& name) const;

  // They are so few that looking at all is faster than a hash. The last one of a name
  // counts.
  struct Option {
    unsigned mark;  // by which most other names differ
    cow_String name;
    cow_String value;
  };
  std::vector<Option> options_;
  cow_1DArrayList<cow_String> arguments_;
};

extern template class KSTUTL_EXPORT thr_GlobalSingleton<utl_CommandLine>;
