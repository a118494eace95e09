// omi_BlkBitVect: a large bit vector of which only the used blocks are kept.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "KSTutl_export.h"

/// A vector of 2^32 bits, all clear at first. Storage is taken in blocks of 131,072 bits
/// (16 KiB) when a bit of the block is first set; a block never set reads as zeros.
///
/// The vector is also seen as 2^27 cells: cell i holds the bits 32i to 32i+31, bit 32i
/// in the least significant place.
///
/// Threads: a value; used by one thread at a time.
class omi_BlkBitVect {
 public:
  /// Number of cells; the first cell number beyond the limit.
  static constexpr std::uint64_t kCells = std::uint64_t{1} << 27;

  /// Sets a bit. Throws `std::bad_alloc` when there is no memory, here and in `SetCell`.
  KSTUTL_EXPORT void Set(std::uint32_t bit);

  KSTUTL_EXPORT bool IsSet(std::uint32_t bit) const;

  /// Number of bits set; kept up to date, so asking is cheap.
  std::uint64_t Count() const { return count_; }

  /// The cell's 32 bits; 0 beyond the limit.
  KSTUTL_EXPORT std::uint32_t Cell(std::uint64_t cell) const;

  /// Replaces the cell's 32 bits. Throws `std::out_of_range`, with nothing changed, for
  /// a cell beyond the limit.
  KSTUTL_EXPORT void SetCell(std::uint64_t cell, std::uint32_t bits);

  /// One past the last of the cells that from `cell` on hold the same bits as it does, at
  /// most kCells. Blocks without storage are passed over at once.
  /// REQUIRES: cell < kCells.
  KSTUTL_EXPORT std::uint64_t RunEnd(std::uint64_t cell) const;

  // The rest is implementation.

 private:
  friend class omi_BlkBitVectTrav;

  static constexpr std::size_t kBlockCells = 4096;
  using Block = std::vector<std::uint32_t>;  // empty or of kBlockCells cells

  std::vector<Block> blocks_;
  std::uint64_t count_ = 0;
};

/// Walks over the set bits of a vector.
///
/// Threads: as the vector, which is not owned and must outlive this.
class omi_BlkBitVectTrav {
 public:
  explicit omi_BlkBitVectTrav(const omi_BlkBitVect& vector) : vector_(vector) {}

  /// The highest set bit; -1 if none is set.
  KSTUTL_EXPORT std::int64_t Last() const;

  // The rest is implementation.

 private:
  const omi_BlkBitVect& vector_;
};
