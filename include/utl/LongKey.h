#pragma once

#include <array>
#include <cstdint>

/// A key of 128 flags, all clear at first, numbered from 0. As a number, bit 0 is the
/// least significant.
///
/// Threads: a plain value.
///
///     const unsigned int solid[] = {3, 64};
///     LongKey key;
///     key.setBits(2, solid);
///     if ((key & wanted) == wanted) ...
class LongKey {
 public:
  /// Sets the `count` bits whose numbers are listed; others keep their state.
  /// REQUIRES: each number is below 128.
  void setBits(unsigned int count, const unsigned int* bits) {
    for (unsigned int i = 0; i < count; ++i) {
      words_[bits[i] / kWordBits] |= std::uint32_t{1} << bits[i] % kWordBits;
    }
  }

  /// Whether the bit is set. REQUIRES: `bit` is below 128.
  bool hasBit(unsigned int bit) const {
    return (words_[bit / kWordBits] >> bit % kWordBits & 1U) != 0;
  }

  LongKey& operator|=(const LongKey& other) {
    for (unsigned int i = 0; i < kWords; ++i) {
      words_[i] |= other.words_[i];
    }
    return *this;
  }

  LongKey& operator&=(const LongKey& other) {
    for (unsigned int i = 0; i < kWords; ++i) {
      words_[i] &= other.words_[i];
    }
    return *this;
  }

  friend bool operator==(const LongKey& a, const LongKey& b);
  friend bool operator>(const LongKey& a, const LongKey& b);

  // The rest is implementation.

 private:
  static constexpr unsigned int kWordBits = 32;
  static constexpr unsigned int kWords = 4;

  std::array<std::uint32_t, kWords> words_{};
};

// Free functions, so that a qualified name, as in ::operator==(a, b), finds them as well.

inline LongKey operator|(const LongKey& a, const LongKey& b) {
  LongKey result = a;
  return result |= b;
}
inline LongKey operator&(const LongKey& a, const LongKey& b) {
  LongKey result = a;
  return result &= b;
}

inline bool operator==(const LongKey& a, const LongKey& b) {
  return a.words_ == b.words_;
}
inline bool operator!=(const LongKey& a, const LongKey& b) {
  return !(a == b);
}

/// Order of the keys as unsigned numbers of 128 bits. There are no <= and >=.
inline bool operator>(const LongKey& a, const LongKey& b) {
  for (unsigned int i = LongKey::kWords; i-- > 0;) {
    if (a.words_[i] != b.words_[i]) {
      return a.words_[i] > b.words_[i];
    }
  }
  return false;
}
inline bool operator<(const LongKey& a, const LongKey& b) {
  return b > a;
}
