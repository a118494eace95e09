#include <algorithm>
#include <iomanip>
#include <iostream>
#include <stdexcept>

#include "nex/nex_Exception.h"
#include "Truss.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_initialize.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_Version.h"

// A line for each node or bar: its id and its share of the values.
template <class Row>
static void Print(const char* head, const std::vector<Row>& rows, const Vector& values) {
  std::cout << '\n' << head << '\n';
  for (const double* value = values.data(); const Row& row : rows) {
    std::cout << std::setw(10) << row.id;
    for (auto i = values.size() / std::ssize(rows); i > 0; --i) {
      std::cout << std::setw(int(std::cout.precision()) + 10) << *value++;
    }
    std::cout << '\n';
  }
}

// The last argument that is neither an option nor an option's value.
static cow_String DeckName(const utl_CommandLine& line) {
  for (int i = line.Size() - 1; i > 0; --i) {
    if (line.ConstGet(i)[0] != '-' && (i == 1 || line.ConstGet(i - 1)[0] != '-')) {
      return line.ConstGet(i);
    }
  }
  throw std::invalid_argument("expected -job NAME [-outdir DIR] [-digits N] DECK");
}

int main(int argc, char** argv) {
  int count = 0, status = 1;
  utl_initialize(count);
  try {
    std::cout << omi_Singleton<utl_Version>::Instance().Title(true) << '\n';
    utl_CommandLineLoader::SetArgs(argc, argv);
    const utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
    // A relative directory would be dropped from the names of the job's files.
    const utl_FilePath inside(line.ConstGetValue("outdir", "") + "/job", "");
    if (inside.PathName().Find("\\") != 0 && inside.PathName().Find(":") != 1) {
      throw std::invalid_argument("outdir must be absolute");
    }
    const cow_String path = utl_JobFileName(".kdb");
    std::cout.precision(std::clamp(line.ConstGetValueAsInt("digits", 6), 1, 17));
    const Deck deck = ReadDeck(DeckName(line));
    const Results results = Solve(deck, Assemble(deck));
    std::cout << '\n' << deck.title << '\n';
    Print("      node   displacement x, y, z", deck.nodes, results.displacements);
    Print("       bar   tension", deck.bars, results.forces);
    Print("      node   reaction x, y, z", deck.nodes, results.reactions);
    Save(path, deck, results);
    std::cout << "\nSaved in " << path << " and read back.\n";
    status = std::cout.flush() ? 0 : 1;
  } catch (const nex_Exception& failure) {
    std::cerr << failure.AsString() << '\n';
  } catch (const std::exception& failure) {
    std::cerr << "kst_truss: " << failure.what() << '\n';
  }
  utl_finalize(count);
  return status;
}
