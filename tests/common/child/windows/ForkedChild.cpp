#include "common/child/ForkedChild.h"

std::optional<int> ResultInForkedChild(const std::function<int()>& /*task*/) {
  return std::nullopt;
}
