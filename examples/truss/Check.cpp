#include "nex/nex_TextException.h"
#include "Truss.h"

void Check(bool isGood, const std::string& file, const std::string& reason, int line) {
  if (!isGood) {
    const std::string place = line == 0 ? file : file + ':' + std::to_string(line);
    nex_TextException(cow_String(place + ": " + reason)).Throw("examples/truss/Check");
  }
}
