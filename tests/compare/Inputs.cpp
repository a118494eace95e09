#include "compare/Inputs.h"

#include <cctype>
#include <cstring>
#include <limits>

namespace {

constexpr const char* kNames[] = {"a",       "b.dat",    "lower.txt",     "MiXed.Txt",
                                  "sub",     "empty",    "sub/in.dat",    "prog.exe",
                                  "run.bat", ".profile", "two words.txt", "x.tar.gz"};

// See left-out.md for what is not among them.
constexpr const char* kOddNames[] = {
    "",        ".",        "..",    "new",          "new.tmp",    "no/a",  "no/no/a",
    "a/b",     "sub/../a", "./a",   "sub/./in.dat", "sub/../../", "...",   " ",
    " a",      "a*",       "?",     "a<b",          "a|b",        "q\"",   "b\x01",
    "s\xB7.t", "\xA4",     "a:b",   "$V",           "%V%/a",      "$NONE", "%",
    "$",       "sub/",     "sub//", "sub/in.dat/",  "a/.",        "a/..",  "empty/.",
    "empty/.."};

std::string WithOtherCase(std::string name, Random& random) {
  const bool upper = random.OneIn(2);
  for (char& c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      c = static_cast<char>(upper ? std::toupper(byte) : std::tolower(byte));
    }
  }
  return name;
}

std::string WithOtherSeparators(std::string name, Random& random) {
  for (char& c : name) {
    if ((c == '/' || c == '\\') && random.OneIn(2)) {
      c = c == '/' ? '\\' : '/';
    }
  }
  return name;
}

std::string Respelled(const std::string& name, Random& random) {
  constexpr const char* kEnds[] = {" ", ".",    "  ",  "..",  ". ",  " .",    "\\",
                                   "/", "\\\\", "\\.", "/..", "\\ ", "\\...", "/. "};
  switch (random.Below(6)) {
    case 0:
      return WithOtherCase(name, random);
    case 1:
      return name + random.Pick(kEnds);
    case 2:
      return "sub\\..\\" + name;
    case 3:
      return ".\\" + name;
    case 4: {
      const int length = random.Between(1, 120);
      return name + std::string(static_cast<std::size_t>(length), 'y');
    }
    default:
      return WithOtherSeparators(name, random);
  }
}

}  // namespace

std::string PlainName(Random& random) {
  return random.Pick(kNames);
}

std::string SomeName(Random& random) {
  std::string name = random.OneIn(4) ? random.Pick(kOddNames) : random.Pick(kNames);
  while (random.OneIn(4)) {
    name = Respelled(name, random);
  }
  constexpr std::size_t kLongest = 190;  // left-out.md
  return name.substr(0, kLongest);
}

std::string SomePath(const World& world, Random& random) {
  std::string name = SomeName(random);
  switch (random.Below(8)) {
    case 0:
      return name;
    case 1:
      return world.shown.substr(2) + '\\' + name;
    case 2:
      return WithOtherSeparators(world.shown, random) + '/' + name;
    case 3:
      return WithOtherCase(world.shown.substr(0, 1), random) + world.shown.substr(1) +
             '\\' + name;
    case 4:
      return "Z:" + name;
    case 5:
      return random.OneIn(3) ? "Q:\\" + name : "sub\\" + name;
    default:
      return world.shown + '\\' + name;
  }
}

std::string SomeOf(Random& random, const char* alphabet, int low, int high) {
  std::string text;
  const int size = static_cast<int>(std::strlen(alphabet));
  for (int left = random.Between(low, high); left > 0; --left) {
    text += alphabet[random.Below(size)];
  }
  return text;
}

std::string SomeBytes(Random& random, int low, int high) {
  std::string bytes;
  for (int left = random.Between(low, high); left > 0; --left) {
    bytes += static_cast<char>(random.Below(256));
  }
  return bytes;
}

std::string SomeText(Random& random) {
  constexpr const char* kTexts[] = {"",   " ",    "a",    "-",      "%s",    "%1$s",
                                    "%d", "beam", "A B",  "file10", "file9", "file010",
                                    "$1", "a=b",  "1,2",  "\n",     "\t",    "\xE4\xB7",
                                    "0",  "007",  "4711", "x.dat",  "\\",    "Z:\\x"};
  switch (random.Below(8)) {
    case 0:
      return SomeBytes(random, 0, 20);
    case 1:
      return SomeOf(random, "ab \n", 0, 1200);
    case 2:
    case 3:
      return SomeOf(random, "abcXYZ019 .,;:-_/\\%$#=", 0, 40);
    default: {
      std::string text = random.Pick(kTexts);
      return random.OneIn(3) ? text + random.Pick(kTexts) : text;
    }
  }
}

int SomeInt(Random& random) {
  constexpr int kLimit = std::numeric_limits<int>::max();
  constexpr int kInts[] = {0,   1,   2,   3,    7,       10,          16,      31,
                           32,  33,  63,  64,   99,      100,         127,     128,
                           255, 256, 500, 1000, 65535,   65536,       1000000, kLimit,
                           -1,  -2,  -10, -256, -kLimit, -kLimit - 1, 2048,    4096};
  return random.OneIn(6) ? static_cast<int>(random.Next()) : random.Pick(kInts);
}

double SomeDouble(Random& random) {
  using Limits = std::numeric_limits<double>;
  constexpr double kDoubles[] = {0.0,
                                 -0.0,
                                 1.0,
                                 -1.0,
                                 0.5,
                                 2.5,
                                 0.1,
                                 1e5,
                                 123456.0,
                                 1234567.,
                                 999999.5,
                                 9999995.,
                                 1e-4,
                                 1e-5,
                                 9.9999e-5,
                                 1e9,
                                 1e10,
                                 1e15,
                                 1e16,
                                 1e17,
                                 1e22,
                                 1e23,
                                 1e99,
                                 1e100,
                                 1e-99,
                                 1e-100,
                                 1e300,
                                 1e-300,
                                 5e-324,
                                 0.15,
                                 0.25,
                                 0.35,
                                 Limits::max(),
                                 Limits::min(),
                                 Limits::infinity(),
                                 -Limits::infinity(),
                                 Limits::quiet_NaN(),
                                 Limits::denorm_min(),
                                 Limits::epsilon(),
                                 -Limits::max()};
  switch (random.Below(4)) {
    case 0: {
      const std::uint64_t bits = random.Next();
      double value;
      std::memcpy(&value, &bits, sizeof value);
      return value;
    }
    case 1: {
      double value = random.Between(-100000, 100000);
      for (int digits = random.Below(8); digits > 0; --digits) {
        value /= 10;
      }
      return value;
    }
    default:
      return random.Pick(kDoubles);
  }
}

std::string SomeVariable(Random& random) {
  constexpr const char* kVariables[] = {"V",          "V",    "W",          "PATHS",
                                        "SUPAUXNAME", "NONE", "KES_COMMAND"};
  return random.Pick(kVariables);
}
