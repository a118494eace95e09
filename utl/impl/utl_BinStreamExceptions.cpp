#include "utl/utl_BinStream.h"

utl_BinStreamException::utl_BinStreamException(const atr_String& message)
    : nex_TextException(message) {}

void utl_BinStreamException::Propagate() const {
  throw *this;
}

utl_BinStreamWriteError::utl_BinStreamWriteError(const atr_String& message)
    : utl_BinStreamException(message) {}

void utl_BinStreamWriteError::Propagate() const {
  throw *this;
}

utl_BinStreamReadError::utl_BinStreamReadError(const atr_String& message)
    : utl_BinStreamException(message) {}

void utl_BinStreamReadError::Propagate() const {
  throw *this;
}

utl_BinStreamEOF::utl_BinStreamEOF(const atr_String& message)
    : utl_BinStreamException(message) {}

void utl_BinStreamEOF::Propagate() const {
  throw *this;
}
