#include "atr/atr_naturalOrder.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>

namespace {

std::atomic<bool> naturalOrder = false;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The run of digits at `text`, which is moved past it, without its leading zeros.
std::string_view TakeNumber(const char*& text) {
  while (*text == '0') {
    ++text;
  }
  const char* const begin = text;
  while (IsDigit(*text)) {
    ++text;
  }
  return {begin, static_cast<std::size_t>(text - begin)};
}

int CompareNumbers(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return a.size() < b.size() ? -1 : 1;
  }
  return a.compare(b);
}

}  // namespace

bool atr_getNaturalOrder() {
  return naturalOrder.load(std::memory_order_relaxed);
}

void atr_setNaturalOrder(bool on) {
  naturalOrder.store(on, std::memory_order_relaxed);
}

int strnatcmp(const char* a, const char* b) {
  const char* const wholeA = a;
  const char* const wholeB = b;
  while (*a != '\0' && *b != '\0') {
    if (IsDigit(*a) && IsDigit(*b)) {
      const int order = CompareNumbers(TakeNumber(a), TakeNumber(b));
      if (order != 0) {
        return order;
      }
    } else if (*a != *b) {
      break;
    } else {
      ++a;
      ++b;
    }
  }
  const int rest = static_cast<unsigned char>(*a) - static_cast<unsigned char>(*b);
  return rest != 0 ? rest : std::strcmp(wholeA, wholeB);
}
