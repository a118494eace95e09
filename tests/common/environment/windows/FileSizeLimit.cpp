#include "common/environment/FileSizeLimit.h"

FileSizeLimit::FileSizeLimit(int) {}
FileSizeLimit::~FileSizeLimit() = default;

bool FileSizeLimit::IsAvailable() {
  return false;
}
