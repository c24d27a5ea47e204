// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

// What every target defines; libFuzzer calls it with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// The input as a file, for what reads files alone; in memory, so that nothing stays when a run is killed.
inline std::string fileWith(const std::uint8_t* data, std::size_t size) {
  static const int file = memfd_create("input", MFD_CLOEXEC);
  if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
  return "/proc/self/fd/" + std::to_string(file);
}

/// Ends the run when what must hold does not.
inline void require(bool condition) {
  if (!condition) std::abort();
}
