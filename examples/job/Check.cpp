#include "Job.h"
#include "nex/nex_TextException.h"

void Check(bool isGood, const cow_String& file, const std::string& reason, int line) {
  if (!isGood) {
    const std::string place = line == 0 ? "" : ":" + std::to_string(line);
    nex_TextException(file + place + ": " + reason).Throw("examples/job/Check");
  }
}
