#pragma once

#include <string>
#include <typeinfo>

#include "nex/nex_TextException.h"

/// The class and the text of an exception, to compare both.
inline std::string Told(const nex_TextException& thrown) {
  return typeid(thrown).name() + std::string(" ") + thrown.AsString().c_str();
}
