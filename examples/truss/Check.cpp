#include "nex/nex_TextException.h"
#include "Truss.h"

void Check(bool isGood, const cow_String& file, const std::string& reason, int line) {
  if (!isGood) {
    const std::string place = line == 0 ? "" : ":" + std::to_string(line);
    nex_TextException(file + place + ": " + reason)
        .Throw("examples/truss/Check", __LINE__);
  }
}
