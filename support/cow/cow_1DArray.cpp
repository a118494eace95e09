#include "cow/cow_1DArray.h"

#include "atr/atr_translate.h"
#include "nex/nex_AssertException.h"

void cow_ThrowIndexOutOfRange(int index, int length) {
  atr_translate text("index %1$s is outside an array of %2$s elements");
  atr_SubstituteFormat(text, 1, index);
  atr_SubstituteFormat(text, 2, length);
  nex_AssertException(text.Result()).Throw("support/cow/cow_1DArray");
}
