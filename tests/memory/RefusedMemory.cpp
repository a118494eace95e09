// The program brings the operators itself: a program's come before those of the run
// time, for the library too. The forms for arrays call these.

#include "memory/RefusedMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

thread_local int requestsToGo = 0;  // 0: nothing is refused
thread_local bool refused = false;
std::atomic<int> blocks = 0;

void* Request(std::size_t size) {
  if (requestsToGo > 0 && --requestsToGo == 0) {
    refused = true;
    return nullptr;
  }
  void* const block = std::malloc(size > 0 ? size : 1);
  blocks += block != nullptr ? 1 : 0;
  return block;
}

void Release(void* block) {
  blocks -= block != nullptr ? 1 : 0;
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  void* const block = Request(size);
  return block != nullptr ? block : throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Request(size);
}

void operator delete(void* block) noexcept {
  Release(block);
}

void operator delete(void* block, std::size_t) noexcept {
  Release(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
  Release(block);
}

RefusedMemory::RefusedMemory(int nth) {
  refused = false;
  requestsToGo = nth;
}

RefusedMemory::~RefusedMemory() {
  requestsToGo = 0;
}

bool RefusedMemory::Happened() const {
  return refused;
}

int RefusedMemory::Blocks() {
  return blocks;
}
