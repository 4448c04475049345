// SPDX-License-Identifier: MIT
#include "counted_memory.h"

#include <malloc.h>

#include <atomic>
#include <cerrno>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

std::atomic<std::size_t> held;
std::atomic<std::size_t> most;

void* counted(void* block) {
  const std::size_t now = held += malloc_usable_size(block);
  if (now > most) most = now;
  return block;
}

void uncount(void* block) {
  held -= malloc_usable_size(block);
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
  const std::size_t before = malloc_usable_size(block);
  void* const moved = __libc_realloc(block, size);
  if (moved != nullptr || size == 0) held -= before;
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

std::size_t heapBytes() {
  return held;
}

std::size_t heapPeak() {
  return most;
}

void restartHeapPeak() {
  most = held.load();
}
