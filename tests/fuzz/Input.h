#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

// What every target defines; libFuzzer calls it with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The input as a file, for what reads files alone.
inline std::string fileWith(const std::uint8_t* data, std::size_t size) {
  static const std::string path = std::filesystem::temp_directory_path() / ("brivane-fuzz-" + std::to_string(getpid()));
  std::ofstream(path, std::ios::binary) << textOf(data, size);
  return path;
}

/// Ends the run when what must hold does not.
inline void require(bool condition) {
  if (!condition) std::abort();
}
