#include "common/TempRoot.h"

std::string TempRoot() {
  return "/tmp/";
}
