#include "nex/nex_TextException.h"
#include "Truss.h"

void Check(bool isGood, const std::string& file, const std::string& reason, int line) {
  if (!isGood) {
    const std::string name = Shortened(file);
    const std::string place = line == 0 ? name : name + ':' + std::to_string(line);
    nex_TextException(cow_String(place + ": " + reason)).Throw("examples/truss/Check");
  }
}

std::string Shortened(const std::string& text, std::size_t most) {
  const std::size_t part = (most - 3) / 2;
  return text.size() <= most
             ? text
             : text.substr(0, part) + "..." + text.substr(text.size() - part);
}
