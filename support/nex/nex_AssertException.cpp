#include "nex/nex_AssertException.h"

nex_AssertException::nex_AssertException(const atr_String& text)
    : nex_TextException(text) {}

void nex_AssertException::Propagate() const {
  throw *this;
}

nex_Exception* nex_AssertException::Copy() const {
  return new nex_AssertException(*this);
}

unsigned int nex_AssertException::DynTypeId() const {
  return 3;
}
