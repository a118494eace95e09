#include "nex/nex_TextException.h"

nex_TextException::nex_TextException(const atr_String& text) : text_(text) {}

atr_String nex_TextException::AsString() const {
  return text_;
}

void nex_TextException::Propagate() const {
  throw *this;
}

nex_Exception* nex_TextException::Copy() const {
  return new nex_TextException(*this);
}

unsigned int nex_TextException::DynTypeId() const {
  return 1;
}

void nex_TextException::DBWrite(const cls_WriteVisitor&) const {}
