#include <exception>
#include <iomanip>
#include <iostream>
#include <map>

#include "nex/nex_Exception.h"
#include "Truss.h"
#include "utl/utl_initialize.h"

// A line for each node or bar: its id and its share of the values.
template <class Row>
static void PrintTable(const char* head, const std::vector<Row>& rows,
                       const Eigen::VectorXd& values) {
  std::cout << '\n' << head << '\n';
  const double* value = values.data();
  for (const Row& row : rows) {
    std::cout << std::setw(10) << row.id;
    for (auto i = values.size() / std::ssize(rows); i > 0; --i) {
      std::cout << std::setw(16) << *value++;
    }
    std::cout << '\n';
  }
}

int main(int argc, char** argv) {
  std::map<std::string, std::string> options = {{"-job", ""}, {"-outdir", "."}};
  std::vector<std::string> decks;
  for (int i = 1; i < argc; ++i) {
    const auto option = options.find(argv[i]);
    const bool isOption = option != options.end() && i + 1 < argc;
    (isOption ? option->second : decks.emplace_back()) = argv[isOption ? ++i : i];
  }
  if (decks.size() != 1 || decks[0].starts_with('-') || options["-job"].empty() ||
      options["-outdir"].empty()) {
    std::cerr << "usage: kst_truss -job NAME [-outdir DIR] DECK\n";
    return 1;
  }
  int count = 0, status = 1;
  utl_initialize(count);
  try {
    const Deck deck = ReadDeck(decks[0]);
    const Results results = Solve(deck, Assemble(deck));
    std::cout << deck.title << '\n';
    PrintTable("      node   displacement x, y, z", deck.nodes, results.displacements);
    PrintTable("       bar   tension", deck.bars, results.forces);
    PrintTable("      node   reaction x, y, z", deck.nodes, results.reactions);
    const cow_String path(options["-outdir"] + "/" + options["-job"] + ".kdb");
    Save(path, deck, results);
    std::cout << "\nSaved in " << path << " and read back.\n" << std::flush;
    status = std::cout ? 0 : 1;
  } catch (const nex_Exception& failure) {
    std::cerr << failure.AsString() << '\n';
  } catch (const std::exception& failure) {
    std::cerr << "kst_truss: " << failure.what() << '\n';
  }
  utl_finalize(count);
  return status;
}
