// The size of heap blocks, which may be more than was asked for.

#include <io.h>
#include <malloc.h>

std::size_t _msize(void* block) {
  return malloc_usable_size(block);
}
