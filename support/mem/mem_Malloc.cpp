#include "mem/mem_Malloc.h"

#include <io.h>
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <new>

void* mem_Malloc(std::size_t size) {
  return ::operator new(size);
}

void mem_Free(void* block) {
  ::operator delete(block);
}

// realloc() would be undefined on a block of operator new.
void* mem_Realloc(void* block, std::size_t size) {
  void* const moved = mem_Malloc(size);
  if (block != nullptr) {
    std::memcpy(moved, block, std::min(size, _msize(block)));
    mem_Free(block);
  }
  return moved;
}
