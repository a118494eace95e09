// Pieces of 1 to 32 bytes put together.

#include "utl/utl_Catenator.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include "bench_work.h"
#include "utl_Catenator_works.h"

namespace {

cow_String Catenated(int pieces) {
  utl_Catenator catenator;
  for (int i = 0; i < pieces; ++i) {
    catenator.Cat(kCatenatorText, CatenatorLength(i));
  }
  return catenator.GetString();
}

std::string Standard(int pieces) {
  std::string text;
  for (int i = 0; i < pieces; ++i) {
    text.append(kCatenatorText, static_cast<std::size_t>(CatenatorLength(i)));
  }
  return text;
}

// A text that is made anew for every piece.
std::string Naive(int pieces) {
  std::string text;
  for (int i = 0; i < pieces; ++i) {
    text =
        text + std::string(kCatenatorText, static_cast<std::size_t>(CatenatorLength(i)));
  }
  return text;
}

// Into memory that is as new as a catenator's.
void Copied(int pieces) {
  const auto block = std::make_unique_for_overwrite<char[]>(
      sizeof kCatenatorText * static_cast<std::size_t>(pieces));
  char* end = block.get();
  for (int i = 0; i < pieces; ++i) {
    std::memcpy(end, kCatenatorText, static_cast<std::size_t>(CatenatorLength(i)));
    end += CatenatorLength(i);
  }
  benchmark::DoNotOptimize(end);
}

}  // namespace

void bench::AddWorks() {
  for (const CatenatorWork& catenated : kCatenatorWorks) {
    const int pieces = catenated.pieces;
    const Work work(catenated.name);
    work.Coding("ours", [pieces] { return Catenated(pieces); });
    if (pieces < 1000) {  // its time grows with the square
      work.Coding("naive", [pieces] { return Naive(pieces); });
    }
    work.Coding("std::string", [pieces] { return Standard(pieces); });
    work.Measured("limit memcpy of the pieces", [pieces] { Copied(pieces); });
    work.Counted();
  }
}
