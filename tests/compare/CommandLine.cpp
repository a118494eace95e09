// The command line, asked by C++ and by other languages.

#include <string>
#include <vector>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "typ/typ_DebugFlags.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineForeign.h"
#include "utl/utl_CommandLineLoader.h"

namespace {

const utl_CommandLine& Line() {
  return thr_GlobalSingleton<utl_CommandLine>::Instance();
}

class CommandLine : public Subject {
 public:
  ~CommandLine() override { typ_DebugFlags::Clear(); }

  void Run(Random& random, Log& log) override {
    constexpr void (CommandLine::*kOperations[])(Random&, Log&) = {
        &CommandLine::Load,    &CommandLine::Load,    &CommandLine::Value,
        &CommandLine::Numbers, &CommandLine::Numbers, &CommandLine::Dictionary,
        &CommandLine::At,      &CommandLine::Foreign, &CommandLine::Foreign,
        &CommandLine::Flags};
    (this->*random.Pick(kOperations))(random, log);
  }

 private:
  static std::string SomeOption(Random& random) {
    constexpr const char* kOptions[] = {"job", "job", "cpus", "cpus", "d",   "error",
                                        "-x",  "",    "no",   "Job",  "\xE4"};
    return random.Pick(kOptions);
  }
  // A number that fits an int or, for utl_CommandLine's sizes, 64 bits; text that is
  // none.
  static std::string SomeValue(Random& random) {
    constexpr const char* kValues[] = {"4",
                                       "0",
                                       "007",
                                       "2147483647",
                                       "2147483648",
                                       "4294967296",
                                       "-5",
                                       "+5",
                                       " 5",
                                       "5 ",
                                       "",
                                       "1e3",
                                       "beam",
                                       "a=1,b,c=,",
                                       "utl=3,rgx",
                                       "=,=",
                                       ",,",
                                       "a=b=c",
                                       "utl=0,x=-1",
                                       "18446744073709551615",
                                       "18446744073709551616",
                                       "9223372036854775808",
                                       "99999999999999999999999",
                                       "\xB2",
                                       "5\xE4"};
    return random.OneIn(5) ? SomeText(random) : random.Pick(kValues);
  }

  void Load(Random& random, Log& log) {
    std::vector<std::string> arguments = {"prog"};
    for (int left = random.Below(6); left > 0; --left) {
      if (random.OneIn(2)) {
        arguments.push_back("-" + SomeOption(random));
      } else {
        arguments.push_back(SomeValue(random));
      }
    }
    const bool asList = random.OneIn(2);
    log.Call("utl_CommandLineLoader", ShownElements(arguments), asList).Result([&] {
      std::vector<char*> pointers;
      cow_1DArrayList<cow_String> list;
      for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
        list.Append(cow_String(std::string_view(argument)));
      }
      if (asList) {
        utl_CommandLineLoader::SetArgsList(list);
      } else {
        utl_CommandLineLoader::SetArgs(static_cast<int>(pointers.size()),
                                       pointers.data());
      }
    });
  }

  void Value(Random& random, Log& log) {
    const cow_String name{std::string_view(SomeOption(random))};
    const cow_String dflt{std::string_view(SomeValue(random))};
    log.Call("utl_CommandLine.ConstGetValue", name, dflt).Result([&] {
      return Verbatim{ShownAll(Line().IsMember(name), Line().ConstGetValue(name, dflt),
                               Line().ConstGetValue(name))};
    });
  }
  void Numbers(Random& random, Log& log) {
    const cow_String name{std::string_view(SomeOption(random))};
    const int dflt = SomeInt(random);
    const int kind = random.Below(4);
    log.Call("utl_CommandLine, numbers", name, dflt, kind).Result([&]() -> long long {
      switch (kind) {
        case 0:
          return Line().ConstGetValueAsInt(name);
        case 1:
          return Line().ConstGetValueAsInt(name, dflt);
        case 2:
          return static_cast<long long>(Line().ConstGetValueAsSizeT(name));
        default:
          return static_cast<long long>(
              Line().ConstGetValueAsSizeT(name, static_cast<std::size_t>(dflt)));
      }
    });
  }
  void Dictionary(Random& random, Log& log) {
    const cow_String name{std::string_view(SomeOption(random))};
    log.Call("utl_CommandLine.ConstGetValueAsDictionary", name).Result([&] {
      return Line().ConstGetValueAsDictionary(name);
    });
  }
  void At(Random& random, Log& log) {
    const int index = random.Between(-2, 12);
    log.Call("utl_CommandLine.ConstGet", index).Result([&] {
      return Verbatim{ShownAll(Line().Size(), Line().ConstGet(index))};
    });
  }

  void Foreign(Random& random, Log& log) {
    std::string name = SomeOf(random, " ", 0, 2);
    name += SomeOption(random);
    name += SomeOf(random, " ", 0, 2);
    const int nameLength =
        random.OneIn(8) ? -random.Below(3) : static_cast<int>(name.size());
    const int room = random.Between(-1, 12);
    const int kind = random.Below(5);
    log.Call("foreign callers", name, nameLength, room, kind).Result([&] {
      return Verbatim{Asked(kind, name, nameLength, room)};
    });
  }
  static std::string Asked(int kind, const std::string& name, int nameLength, int room) {
    char buffer[4000] = "~~~~~~~~~~~~";
    int number = -7;
    switch (kind) {
      case 0:
        UTL_COMMANDLINEINTEGER(name.data(), &number, nameLength);
        break;
      case 1:
        UTL_COMMANDLINEISMEMBER(name.data(), &number, nameLength);
        break;
      case 2:
        UTL_COMMANDLINESTRING(name.data(), buffer, &number, nameLength, room);
        break;
      case 3:
        number = utl_CommandLineStringC(name.c_str(), buffer, room);
        break;
      default:
        number = utl_getArgs(name.c_str(), buffer);
    }
    return ShownAll(number, cow_String(buffer));
  }

  void Flags(Random&, Log& log) {
    log.Call("typ_DebugFlags").Result([] {
      return Verbatim{ShownAll(typ_DebugFlags::Level("utl"), typ_DebugFlags::Level("rgx"),
                               typ_DebugFlags::Level(3), typ_DebugFlags::Level(""))};
    });
  }
};

}  // namespace

std::unique_ptr<Subject> MakeCommandLine(World&, Random&) {
  return std::make_unique<CommandLine>();
}
