// mem_Malloc, mem_Free, mem_Realloc: raw blocks of the C++ heap.

#pragma once

#include <cstddef>

#include "KSTutl_export.h"

// The three functions work on the heap of `operator new`: a block from one may be
// released by the other.
//
//     char* text = static_cast<char*>(mem_Malloc(10));
//     text = static_cast<char*>(mem_Realloc(text, 1000));
//     ::operator delete(text);   // as good as mem_Free(text)
//
// REQUIRES: the program does not replace the global `operator new`; `mem_Realloc` asks
// the run time's heap for a block's size.
//
// Threads: safe for any, as the heap is.

/// A block of at least `size` bytes (0 is allowed), not initialised, that the caller
/// releases. Throws `std::bad_alloc` when there is no memory.
KSTUTL_EXPORT void* mem_Malloc(std::size_t size);

/// Releases a block of `mem_Malloc`, `mem_Realloc` or plain `operator new`; null is
/// allowed.
KSTUTL_EXPORT void mem_Free(void* block);

/// Moves a block's contents into a block of at least `size` bytes and releases the old
/// one; contents beyond `size` are cut off. A null `block` is an empty one. Throws
/// `std::bad_alloc` when there is no memory; the old block is then untouched.
KSTUTL_EXPORT void* mem_Realloc(void* block, std::size_t size);
