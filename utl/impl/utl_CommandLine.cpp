#include "utl/utl_CommandLine.h"

#include <algorithm>
#include <cctype>
#include <mutex>
#include <optional>
#include <utility>

#include "atr/atr_translate.h"
#include "omi/omi_strtoSizeT.h"
#include "rgx/rgx_funcs.h"
#include "typ/typ_DebugFlags.h"
#include "utl/impl/text/utl_leadingInt.h"

template class thr_GlobalSingleton<utl_CommandLine>;

namespace {

constexpr char kSource[] = "utl/impl/utl_CommandLine";

std::lock_guard<thr_Mutex> Locked() {
  return std::lock_guard<thr_Mutex>(thr_GlobalSingleton<utl_CommandLine>::Mutex());
}

// A string of its own with the characters of the stored one.
cow_String Unshared(const cow_String& stored) {
  return {stored.c_str(), stored.Length()};
}

// An option's length, and its first and last character.
unsigned Mark(const cow_String& name) {
  const int last = std::max(name.Length() - 1, 0);
  return static_cast<unsigned>(name.Length()) << 16 |
         static_cast<unsigned>(static_cast<unsigned char>(name[0])) << 8 |
         static_cast<unsigned char>(name[last]);
}

bool NamesOption(const cow_String& argument) {
  return argument[0] == '-';
}

// The value of option `name` if it has only digits; throws otherwise.
const cow_String& Digits(const cow_String& name, const cow_String& value) {
  const std::string_view text = value;
  if (!std::all_of(text.begin(), text.end(),
                   [](unsigned char c) { return std::isdigit(c) != 0; })) {
    utl_CmdLineArgFormatException(name, "integer").Throw(kSource);
  }
  return value;
}

// Without a range check, on purpose.
int ToInt(const cow_String& name, const cow_String& value) {
  return utl_leadingInt(Digits(name, value));
}

std::size_t ToSizeT(const cow_String& name, const cow_String& value) {
  return omi_strtoSizeT(Digits(name, value).c_str());
}

}  // namespace

utl_MissingCmdLineArgException::utl_MissingCmdLineArgException(const cow_String& name)
    : nex_TextException(name) {}

atr_String utl_MissingCmdLineArgException::AsString() const {
  atr_translate text("Command line argument %s is required.");
  atr_SubstituteFormat(text, 1, nex_TextException::AsString());
  return text.Result();
}

void utl_MissingCmdLineArgException::Propagate() const {
  throw *this;
}

utl_CmdLineArgFormatException::utl_CmdLineArgFormatException(const cow_String& name,
                                                             const atr_String& type)
    : nex_TextException(type), name_(name) {}

atr_String utl_CmdLineArgFormatException::AsString() const {
  atr_translate text("Command line argument %1$s must have type %2$s");
  atr_SubstituteFormat(text, 1, name_);
  atr_SubstituteFormat(text, 2, nex_TextException::AsString());
  return text.Result();
}

void utl_CmdLineArgFormatException::Propagate() const {
  throw *this;
}

utl_CommandLine::utl_CommandLine() = default;

utl_CommandLine::~utl_CommandLine() = default;

cow_String utl_CommandLine::ConstGetValue(const cow_String& name) const {
  return RequiredValue(name);
}

cow_String utl_CommandLine::ConstGetValue(const cow_String& name,
                                          const cow_String& dflt) const {
  return Value(name).value_or(dflt);
}

int utl_CommandLine::ConstGetValueAsInt(const cow_String& name) const {
  return ToInt(name, RequiredValue(name));
}

int utl_CommandLine::ConstGetValueAsInt(const cow_String& name, int dflt) const {
  const std::optional<cow_String> value = Value(name);
  return value ? ToInt(name, *value) : dflt;
}

std::size_t utl_CommandLine::ConstGetValueAsSizeT(const cow_String& name) const {
  return ToSizeT(name, RequiredValue(name));
}

std::size_t utl_CommandLine::ConstGetValueAsSizeT(const cow_String& name,
                                                  std::size_t dflt) const {
  const std::optional<cow_String> value = Value(name);
  return value ? ToSizeT(name, *value) : dflt;
}

bool utl_CommandLine::IsMember(const cow_String& name) const {
  const auto lock = Locked();
  return Look(name) != nullptr;
}

cow_String utl_CommandLine::ConstGet(int i) const {
  const auto lock = Locked();
  return Unshared(arguments_[i]);
}

int utl_CommandLine::Size() const {
  const auto lock = Locked();
  return arguments_.Length();
}

cow_Map<cow_String, cow_String> utl_CommandLine::ConstGetValueAsDictionary(
    const cow_String& name) const {
  cow_Map<cow_String, cow_String> dictionary;
  for (const cow_String& piece : rgx_split(",", RequiredValue(name))) {
    // Without a "=" the whole piece is the key.
    const int equals = piece.Find("=");
    dictionary.Insert(piece.Substr(0, equals), piece.Substr(equals + 1, piece.Length()));
  }
  return dictionary;
}

void utl_CommandLine::SetArgs(int argc, char** argv) {
  cow_1DArrayList<cow_String> args;
  for (int i = 0; i < argc; ++i) {
    args.Append(argv[i]);
    arguments_.Append(argv[i]);
  }
  Classify(args, 1);
  ApplyErrorOption();
}

void utl_CommandLine::SetArgsList(cow_1DArrayList<cow_String> args) {
  arguments_ = std::move(args);
  Classify(arguments_, 0);
  ApplyErrorOption();
}

// Stores the options among the arguments from number `first` on.
void utl_CommandLine::Classify(const cow_1DArrayList<cow_String>& args, int first) {
  std::optional<cow_String> pending;
  for (int i = first; i < args.Length(); ++i) {
    if (!NamesOption(args[i])) {
      if (pending) {
        options_.push_back({Mark(*pending), *pending, args[i]});
        pending.reset();
      }
      continue;
    }
    if (pending) {
      options_.push_back({Mark(*pending), *pending, ""});
    }
    pending = args[i].Substr(1, args[i].Length());
  }
  if (pending) {
    options_.push_back({Mark(*pending), *pending, ""});
  }
}

void utl_CommandLine::ApplyErrorOption() const {
  if (!IsMember("error")) {
    return;
  }
  for (const auto& [flag, text] : ConstGetValueAsDictionary("error")) {
    const int level = text.IsEmpty() ? 1 : utl_leadingInt(text);
    if (level > 0) {
      typ_DebugFlags::SetDebugFlags(flag.c_str(), level);
    }
  }
}

// The option's stored value, null when the option was not given.
const cow_String* utl_CommandLine::Look(const cow_String& name) const {
  const unsigned mark = Mark(name);
  const auto found = std::find_if(options_.rbegin(), options_.rend(),
                                  [&name, mark](const Option& option) {
                                    return option.mark == mark && option.name == name;
                                  });
  return found != options_.rend() ? &found->value : nullptr;
}

std::optional<cow_String> utl_CommandLine::Value(const cow_String& name) const {
  const auto lock = Locked();
  const cow_String* const stored = Look(name);
  return stored != nullptr ? std::optional(Unshared(*stored)) : std::nullopt;
}

cow_String utl_CommandLine::RequiredValue(const cow_String& name) const {
  {
    const auto lock = Locked();
    if (const cow_String* const stored = Look(name)) {
      return Unshared(*stored);
    }
  }
  utl_MissingCmdLineArgException(name).Throw(kSource);
}
