#include "nex/nex_SystemErrorException.h"

nex_SystemErrorException::nex_SystemErrorException(const omi_SystemErrorCode& error)
    : nex_TextException(error.Text()), error_(error) {}

void nex_SystemErrorException::Propagate() const {
  throw *this;
}

nex_Exception* nex_SystemErrorException::Copy() const {
  return new nex_SystemErrorException(*this);
}

unsigned int nex_SystemErrorException::DynTypeId() const {
  return 2;
}
