#pragma once

#include "nex/nex_TextException.h"
#include "omi/omi_SystemErrorCode.h"

/// A call of the system or of the C run time failed. The text is the one that the system
/// has for the error number, line end included; "" when it has none.
class KSTUTL_EXPORT nex_SystemErrorException : public nex_TextException {
 public:
  explicit nex_SystemErrorException(const omi_SystemErrorCode& error);

  /// The error given to the constructor.
  omi_SystemErrorCode ErrorCode() const noexcept { return error_; }

  [[noreturn]] void Propagate() const override;
  nex_Exception* Copy() const override;
  unsigned int DynTypeId() const override;

  // The rest is implementation.

 private:
  omi_SystemErrorCode error_;
};
