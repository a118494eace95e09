// omi_Swapper: the byte orders of binary data.

#pragma once

/// Names the byte orders. The product's data is little-endian everywhere, so nothing
/// here swaps.
class omi_Swapper {
 public:
  omi_Swapper() = delete;

  enum EndianType { kLittleEndian, kBigEndian };
};
