#include "common/temp/TempRoot.h"

std::string TempRoot() {
  return "/tmp/";
}
