#include "nex/nex_Exception.h"

#include <exception>

#include "atr/atr_translate.h"

nex_Exception::~nex_Exception() = default;

atr_String nex_Exception::DeveloperReport() const {
  atr_translate text("%1$s, line %2$s: %3$s");
  atr_SubstituteFormat(text, 1, sourceFile_);
  atr_SubstituteFormat(text, 2, sourceLine_);
  atr_SubstituteFormat(text, 3, AsString());
  return text.Result();
}

atr_String nex_Exception::UserReport() const {
  return AsString();
}

void nex_Exception::Throw(const char* sourceFile, int line) {
  sourceFile_ = sourceFile;
  sourceLine_ = line;
  Propagate();
  std::terminate();  // no class returns from Propagate
}
