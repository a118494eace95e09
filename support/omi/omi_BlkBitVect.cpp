#include "omi/omi_BlkBitVect.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace {

constexpr unsigned kCellBits = 32;

}  // namespace

void omi_BlkBitVect::Set(std::uint32_t bit) {
  const std::uint32_t cell = bit / kCellBits;
  SetCell(cell, Cell(cell) | std::uint32_t{1} << bit % kCellBits);
}

bool omi_BlkBitVect::IsSet(std::uint32_t bit) const {
  return (Cell(bit / kCellBits) >> bit % kCellBits & 1U) != 0;
}

std::uint32_t omi_BlkBitVect::Cell(std::uint64_t cell) const {
  const std::uint64_t block = cell / kBlockCells;
  if (block >= blocks_.size() || blocks_[block].empty()) {
    return 0;
  }
  return blocks_[block][cell % kBlockCells];
}

void omi_BlkBitVect::SetCell(std::uint64_t cell, std::uint32_t bits) {
  if (cell >= kCells) {
    throw std::out_of_range("omi_BlkBitVect: cell beyond the limit");
  }
  const std::uint32_t old = Cell(cell);
  if (old == bits) {
    return;  // above all, zeros take no storage
  }
  const std::uint64_t block = cell / kBlockCells;
  if (block >= blocks_.size()) {
    blocks_.resize(block + 1);
  }
  blocks_[block].resize(kBlockCells);
  blocks_[block][cell % kBlockCells] = bits;
  count_ -= static_cast<std::uint64_t>(std::popcount(old));
  count_ += static_cast<std::uint64_t>(std::popcount(bits));
}

std::uint64_t omi_BlkBitVect::RunEnd(std::uint64_t cell) const {
  const std::uint32_t bits = Cell(cell);
  std::uint64_t end = cell + 1;
  while (end < kCells) {
    const std::uint64_t block = end / kBlockCells;
    const bool isStored = block < blocks_.size() && !blocks_[block].empty();
    if (!isStored) {
      if (bits != 0) {
        break;
      }
      end = (block + 1) * kBlockCells;
      continue;
    }
    const Block& cells = blocks_[block];
    const auto from = cells.begin() + static_cast<std::ptrdiff_t>(end % kBlockCells);
    const auto other = std::find_if(from, cells.end(),
                                    [bits](std::uint32_t next) { return next != bits; });
    end += static_cast<std::uint64_t>(other - from);
    if (other != cells.end()) {
      break;
    }
  }
  return end;
}

std::int64_t omi_BlkBitVectTrav::Last() const {
  for (std::size_t block = vector_.blocks_.size(); block-- > 0;) {
    const omi_BlkBitVect::Block& cells = vector_.blocks_[block];
    for (std::size_t i = cells.size(); i-- > 0;) {
      if (cells[i] != 0) {
        const auto cell =
            static_cast<std::int64_t>(block * omi_BlkBitVect::kBlockCells + i);
        return cell * kCellBits + std::bit_width(cells[i]) - 1;
      }
    }
  }
  return -1;
}
