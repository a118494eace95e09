#pragma once

struct CatenatorWork {
  const char* name;
  int pieces;
};
inline constexpr CatenatorWork kCatenatorWorks[] = {
    {"catenator 20 pieces", 20}, {"catenator 1000000 pieces", 1000000}};

/// Every piece is a start of this text.
inline constexpr char kCatenatorText[] = "a piece of the text, up to 32 by";

inline int CatenatorLength(int piece) {
  return 1 + (piece * 7 & 31);
}
