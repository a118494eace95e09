#include <iostream>

#include "Truss.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_Phase.h"
#include "utl/utl_runMain.h"
#include "utl/utl_Version.h"

// Each phase is timed and marked in the logs that the environment asks for.
static void SolveDeck(const Options& options) {
  Deck deck;
  Equations equations;
  Results results;
  {
    const utl_Phase phase(1, "read");
    deck = ReadDeck(options.deck);
  }
  {
    const utl_Phase phase(2, "assemble");
    equations = Assemble(deck);
  }
  {
    const utl_Phase phase(3, "solve");
    results = Solve(deck, equations);
  }
  {
    const utl_Phase phase(4, "write");
    Print(deck, results, options.digits);
    const Record record = RecordOf(deck, results);
    Save(options.result, record);
    // People and other programs know the file by the system's own name for it.
    std::cout << "\nSaved in " << utl_nativePath(options.result).string()
              << " and read back.\n";
    if (!options.exported.empty()) {
      Export(options.exported, record);
      std::cout << "Exported to " << options.exported << ".\n";
    }
    if (!options.picture.empty()) {
      Draw(options.picture, deck, results);
      std::cout << "Drawn in " << options.picture << ".\n";
    }
    if (!options.imported.empty()) {
      Import(options.imported, record);
      std::cout << "The same in " << options.imported << ".\n";
    }
  }
}

static void Work(const utl_CommandLine& line) {
  if (line.Size() <= 1 || line.IsMember("help")) {
    PrintUsage();
    return;
  }
  const Options options = ReadOptions(line);
  std::cout << omi_Singleton<utl_Version>::Instance().Title(true) << '\n';
  SolveDeck(options);
}

int main(int argc, char** argv) {
  return utl_runMain("kst_truss", argc, argv, Work);
}
