#pragma once

#include <cstddef>

/// What a program takes with `operator new`, in bytes as the allocator rounds them. For a program
/// that links CountedHeap.cpp and allocates on one thread.
namespace bench {

std::size_t heapHeld();
/// The most that was held at once since the peak was forgotten.
std::size_t heapPeak();
void forgetHeapPeak();

}  // namespace bench
