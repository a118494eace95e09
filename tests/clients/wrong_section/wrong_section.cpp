// Does not compile: values of type VALUE have no meaning in a file.

#include <string>

#include "utl/utl_MultisectionFile.h"

void Use(utl_MultisectionFile& file) {
  file.getSection<VALUE>("a");
}
