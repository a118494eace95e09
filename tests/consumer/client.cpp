#include <iostream>

#include "cow/cow_String.h"

int main() {
  const cow_String greeting = cow_String("linked ") + "and loaded";
  std::cout << greeting << '\n';
  return greeting.Length() == 17 ? 0 : 1;
}
