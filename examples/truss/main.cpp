#include <algorithm>
#include <iostream>
#include <stdexcept>

#include "Truss.h"
#include "utl/utl_JobFileName.h"

// The last argument that is neither an option nor an option's value.
static cow_String DeckName(const utl_CommandLine& line) {
  for (int i = line.Size() - 1; i > 0; --i) {
    if (line.ConstGet(i)[0] != '-' && (i == 1 || line.ConstGet(i - 1)[0] != '-')) {
      return line.ConstGet(i);
    }
  }
  throw std::invalid_argument(
      "expected -job NAME [-outdir DIR] [-digits N] [-export FILE] [-import FILE] DECK");
}

static void SolveDeck(const utl_CommandLine& line) {
  const int digits = std::clamp(line.ConstGetValueAsInt("digits", 6), 1, 17);
  Deck deck;
  Equations equations;
  Results results;
  InPhase(1, "read", [&] { deck = ReadDeck(DeckName(line)); });
  InPhase(2, "assemble", [&] { equations = Assemble(deck); });
  InPhase(3, "solve", [&] { results = Solve(deck, equations); });
  InPhase(4, "write", [&] {
    Print(deck, results, digits);
    const Blocks blocks = BlocksOf(deck, results);
    const cow_String path = utl_JobFileName(".kdb");
    Save(path, blocks);
    std::cout << "\nSaved in " << path << " and read back.\n";
    constexpr char kTag[] = "KSTtruss";
    if (line.IsMember("export")) {
      Export(line.ConstGetValue("export"), kTag, blocks);
      std::cout << "Exported to " << line.ConstGetValue("export") << ".\n";
    }
    if (line.IsMember("import")) {
      Import(line.ConstGetValue("import"), kTag, blocks);
      std::cout << "The same in " << line.ConstGetValue("import") << ".\n";
    }
  });
}

int main(int argc, char** argv) {
  return RunJob("kst_truss", argc, argv, SolveDeck);
}
