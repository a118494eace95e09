#pragma once

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <vector>

#include "common/temp/TempDir.h"

/// A shipped deck's path.
inline std::string ShippedDeck(const std::string& name) {
  return KST_TRUSS_DECKS + name + ".deck";
}

/// The line that begins what the program prints.
inline const std::string kTrussTitle = "KESTRA Version 6.6-7\n";

/// What a run of the program gave; line ends are "\n" on both targets.
struct TrussRun {
  int status;
  std::string out, err;
};

/// Runs the program's main with these arguments.
TrussRun RunTruss(const std::vector<std::string>& arguments);

/// Two bars that carry 16 down and 6 sideways (closed form: see truss_solve_test.cpp).
inline constexpr char kTwoBarDeck[] =
    "title Two bars\nmaterial 200\n"
    "node 11 -3 0 0\nnode 2 3 0 0\nnode 7 0 4 0\n"
    "bar 300 11 7 2\nmaterial 100\nbar 1 2 7 4\n"
    "fix 11 xyz\nfix 2 xyz\nfix 7 z\nload 7 6 -16 0\n";

/// Numbers as they lie in the program's files, byte by byte.
template <class Value>
std::string Bytes(std::initializer_list<Value> values) {
  std::string bytes;
  for (const Value value : values) {
    using Bits = std::conditional_t<sizeof(Value) == 8, std::uint64_t, std::uint32_t>;
    const auto bits = std::bit_cast<Bits>(value);
    for (unsigned i = 0; i < sizeof(Value); ++i) {
      bytes += static_cast<char>(bits >> 8 * i);
    }
  }
  return bytes;
}

/// A directory with a deck, in which the job "job" runs.
class TrussJob {
 public:
  explicit TrussJob(const std::string& deckText) { WriteWholeFile(DeckPath(), deckText); }
  std::string DeckPath() const { return dir_.File("test.deck"); }
  std::string DirPath() const { return dir_.Path(); }
  std::string ShownDirPath() const { return dir_.ShownPath(); }
  /// The result file, and its name as the program forms it.
  std::string ResultPath() const { return dir_.File("job.kdb"); }
  std::string ShownResultPath() const { return ShownDirPath() + "\\job.kdb"; }
  /// Runs the job, with more options.
  TrussRun Run(const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments = {"-job", "job", "-outdir", dir_.Path()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(DeckPath());
    return RunTruss(arguments);
  }
  std::string File(const std::string& name) const { return dir_.File(name); }

 private:
  TempDir dir_;
};
