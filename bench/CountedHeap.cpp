#include "bench/CountedHeap.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

std::size_t held = 0;
std::size_t peak = 0;

}  // namespace

// The standard library's other forms call these.

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  held += malloc_usable_size(memory);
  peak = std::max(peak, held);
  return memory;
}

void operator delete(void* memory) noexcept {
  held -= malloc_usable_size(memory);
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }

namespace bench {

std::size_t heapHeld() { return held; }
std::size_t heapPeak() { return peak; }
void forgetHeapPeak() { peak = held; }

}  // namespace bench
