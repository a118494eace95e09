#include "utl/utl_BinStream.h"

utl_BinStreamException::utl_BinStreamException(const atr_String& message)
    : nex_TextException(message) {}
utl_BinStreamException::utl_BinStreamException(const utl_BinStreamException&) noexcept =
    default;
utl_BinStreamException::~utl_BinStreamException() = default;
void utl_BinStreamException::Propagate() const {
  throw *this;
}

utl_BinStreamWriteError::utl_BinStreamWriteError(const atr_String& message)
    : utl_BinStreamException(message) {}
utl_BinStreamWriteError::utl_BinStreamWriteError(
    const utl_BinStreamWriteError&) noexcept = default;
utl_BinStreamWriteError::~utl_BinStreamWriteError() = default;
void utl_BinStreamWriteError::Propagate() const {
  throw *this;
}

utl_BinStreamReadError::utl_BinStreamReadError(const atr_String& message)
    : utl_BinStreamException(message) {}
utl_BinStreamReadError::utl_BinStreamReadError(const utl_BinStreamReadError&) noexcept =
    default;
utl_BinStreamReadError::~utl_BinStreamReadError() = default;
void utl_BinStreamReadError::Propagate() const {
  throw *this;
}

utl_BinStreamEOF::utl_BinStreamEOF(const atr_String& message)
    : utl_BinStreamException(message) {}
utl_BinStreamEOF::utl_BinStreamEOF(const utl_BinStreamEOF&) noexcept = default;
utl_BinStreamEOF::~utl_BinStreamEOF() = default;
void utl_BinStreamEOF::Propagate() const {
  throw *this;
}
