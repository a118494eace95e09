#pragma once

#include "nex/nex_TextException.h"

/// A condition that the program relies on does not hold. The text names it, as it stands
/// in the source: "d >= INT_MIN && d <= INT_MAX".
class KSTUTL_EXPORT nex_AssertException : public nex_TextException {
 public:
  explicit nex_AssertException(const atr_String& text);

  [[noreturn]] void Propagate() const override;
  nex_Exception* Copy() const override;
  unsigned int DynTypeId() const override;
};
