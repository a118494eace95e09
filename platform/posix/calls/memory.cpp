// Large blocks of memory, cut one after the other from stretches of address space for
// which the system is asked to use its large pages. A block goes back to the system by
// itself, so that a stretch takes no memory but for the blocks in use.

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

#include "platform/platform.h"

namespace platform {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kLargePage = std::size_t{2} * 1024 * 1024;
constexpr std::size_t kStretch = 16 * kLargePage;

std::size_t RoundedUp(std::size_t size, std::size_t unit) {
  return (size + unit - 1) / unit * unit;
}

void Unmap(char* begin, const char* end) {
  if (begin != end) {
    munmap(begin, static_cast<std::size_t>(end - begin));
  }
}

// Address space from the start of a large page on, or null.
char* Map(std::size_t size) {
  const std::size_t whole = size + kLargePage;
  void* const space = mmap(nullptr, whole, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (space == MAP_FAILED) {
    return nullptr;
  }
  char* const begin = static_cast<char*>(space);
  const auto address = reinterpret_cast<std::uintptr_t>(begin);
  char* const aligned = begin + (RoundedUp(address, kLargePage) - address);
  Unmap(begin, aligned);
  Unmap(aligned + size, begin + whole);
  // Where this is refused, small pages serve as well.
  madvise(aligned, size, MADV_HUGEPAGE);
  return aligned;
}

}  // namespace

LargeBlocks::~LargeBlocks() {
  Unmap(next_, end_);
}

char* LargeBlocks::Take(std::size_t size) {
  if (size > std::numeric_limits<std::ptrdiff_t>::max() - 2 * kLargePage) {
    throw std::bad_alloc();
  }
  const std::size_t room = RoundedUp(size, kPage);
  if (room > static_cast<std::size_t>(end_ - next_)) {
    std::size_t stretch = std::max(room, kStretch);
    char* begin = Map(stretch);
    if (begin == nullptr) {  // the process may not have so much: the block alone
      stretch = room;
      begin = Map(stretch);
    }
    if (begin == nullptr) {
      throw std::bad_alloc();
    }
    Unmap(next_, end_);
    next_ = begin;
    end_ = begin + stretch;
  }
  return std::exchange(next_, next_ + room);
}

void LargeBlocks::GiveBack(char* block, std::size_t size) noexcept {
  Unmap(block, block + RoundedUp(size, kPage));
}

}  // namespace platform
