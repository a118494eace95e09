#include "common/child/WritersAreTold.h"

bool WritersAreTold() {
  return true;
}
