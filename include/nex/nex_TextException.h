#pragma once

#include "nex/nex_Exception.h"

/// The exception that is a message text, and the base of every class that says more by
/// its type. A derived class adds only its constructors, which build the text, and
/// Propagate, which throws `*this`.
class KSTUTL_EXPORT nex_TextException : public nex_Exception {
 public:
  explicit nex_TextException(const atr_String& text);

  /// The text given to the constructor.
  atr_String AsString() const override;
  [[noreturn]] void Propagate() const override;
  /// A plain nex_TextException with the text and the position of this one, whatever
  /// class this is.
  nex_Exception* Copy() const override;
  unsigned int DynTypeId() const override;
  void DBWrite(const cls_WriteVisitor& visitor) const override;

  // The rest is implementation.

 private:
  atr_String text_;
};
