#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

// What every target defines; libFuzzer calls it with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The input as a file in memory, for what reads files alone.
class InputFile {
 public:
  InputFile(const std::uint8_t* data, std::size_t size) : descriptor_(memfd_create("input", MFD_CLOEXEC)) {
    if (descriptor_ < 0 || write(descriptor_, data, size) != static_cast<ssize_t>(size)) std::abort();
  }
  ~InputFile() { close(descriptor_); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  const int descriptor_;
};

/// Ends the run when what must hold does not.
inline void require(bool condition) {
  if (!condition) std::abort();
}
