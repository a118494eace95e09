#pragma once

#include <string>
#include <vector>

#include "common/TempDir.h"

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
  TrussRun Run() const {
    return RunTruss({"-job", "job", "-outdir", dir_.Path(), DeckPath()});
  }

 private:
  TempDir dir_;
};
