// SPDX-License-Identifier: MIT
#include "counted_memory.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

bool counting = false;
std::ptrdiff_t held = 0;  // less than nothing where a block from before was freed
std::ptrdiff_t most = 0;

void* counted(void* block) {
  if (!counting) return block;
  held += static_cast<std::ptrdiff_t>(malloc_usable_size(block));
  most = std::max(most, held);
  return block;
}

void uncount(void* block) {
  if (counting) held -= static_cast<std::ptrdiff_t>(malloc_usable_size(block));
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  return counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
  return counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) {
  const auto before = static_cast<std::ptrdiff_t>(malloc_usable_size(block));
  void* const moved = __libc_realloc(block, size);
  if (counting && (moved != nullptr || size == 0)) held -= before;
  return counted(moved);
}

void* memalign(std::size_t alignment, std::size_t size) {
  return counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}

void free(void* block) {
  uncount(block);
  __libc_free(block);
}
}

std::size_t heapPeakOf(const std::function<void()>& work) {
  held = most = 0;
  counting = true;
  work();
  counting = false;
  return static_cast<std::size_t>(most);
}
