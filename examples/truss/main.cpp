#include <algorithm>
#include <iostream>
#include <stdexcept>

#include "nex/nex_Exception.h"
#include "Truss.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_initialize.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_Version.h"

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
    const int digits = std::clamp(line.ConstGetValueAsInt("digits", 6), 1, 17);
    omi_Singleton<utl_ResourceMonitor>::Instance().Initialize(
        utl_JobFileName("").c_str());
    Deck deck;
    Equations equations;
    Results results;
    InPhase(1, "read", [&] { deck = ReadDeck(DeckName(line)); });
    InPhase(2, "assemble", [&] { equations = Assemble(deck); });
    InPhase(3, "solve", [&] { results = Solve(deck, equations); });
    InPhase(4, "write", [&] {
      Print(deck, results, digits);
      const Blocks blocks = BlocksOf(deck, results);
      Save(path, blocks);
      std::cout << "\nSaved in " << path << " and read back.\n";
      if (line.IsMember("export")) {
        Export(line.ConstGetValue("export"), blocks);
        std::cout << "Exported to " << line.ConstGetValue("export") << ".\n";
      }
      if (line.IsMember("import")) {
        Import(line.ConstGetValue("import"), blocks);
        std::cout << "The same in " << line.ConstGetValue("import") << ".\n";
      }
    });
    status = std::cout.flush() ? 0 : 1;
  } catch (const nex_Exception& failure) {
    std::cerr << failure.AsString() << '\n';
  } catch (const std::exception& failure) {
    std::cerr << "kst_truss: " << failure.what() << '\n';
  }
  utl_finalize(count);
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  return status;
}
