#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "tests/fuzz/Input.h"

// Stands in for libFuzzer in builds of any compiler: runs a target on its seeds as they are, and
// then on so many changes of them, the same each time.
//   TARGET RUNS PATH...

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kLargest = 12'000;

Bytes read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  Bytes bytes(std::istreambuf_iterator<char>(file), {});
  bytes.resize(std::min(bytes.size(), kLargest));
  return bytes;
}

std::vector<Bytes> readSeeds(const char* const* first, const char* const* last) {
  std::vector<std::filesystem::path> paths;
  for (; first != last; ++first) {
    if (!std::filesystem::is_directory(*first)) continue;
    for (const auto& file : std::filesystem::directory_iterator(*first)) paths.push_back(file.path());
  }
  std::ranges::sort(paths);  // folders are read in any order
  std::vector<Bytes> seeds = {{}};
  for (const auto& path : paths) seeds.push_back(read(path));
  return seeds;
}

/// `bytes` with up to eight changes: a bit, a byte that means something, a part cut out or one of `other` put in.
Bytes changed(Bytes bytes, const Bytes& other, std::mt19937& random) {
  const auto below = [&random](std::size_t limit) { return static_cast<std::ptrdiff_t>(random() % limit); };
  for (auto count = below(8) + 1; count > 0; --count) {
    const auto at = bytes.begin() + below(bytes.size() + 1);
    const auto kind = below(4);
    if (kind == 0 && at != bytes.end()) *at ^= static_cast<std::uint8_t>(1U << below(8));
    if (kind == 1) bytes.insert(at, static_cast<std::uint8_t>("\xFF\x7F\0{[\"e9"[below(8)]));
    if (kind == 2) bytes.erase(at, bytes.end() - below(static_cast<std::size_t>(bytes.end() - at) + 1));
    if (kind == 3) bytes.insert(at, other.begin(), other.end());
  }
  bytes.resize(std::min(bytes.size(), kLargest));
  return bytes;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::size_t runs = std::stoul(argv[1]);
  const std::vector<Bytes> seeds = readSeeds(argv + 2, argv + argc);
  for (const Bytes& seed : seeds) LLVMFuzzerTestOneInput(seed.data(), seed.size());
  std::mt19937 random;  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same changes each time are wanted
  const auto any = [&] { return seeds[random() % seeds.size()]; };
  for (std::size_t run = 0; run < runs; ++run) {
    const Bytes input = changed(any(), any(), random);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  std::cout << seeds.size() << " seeds and " << runs << " changes of them\n";
}
