#include <algorithm>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
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

// NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): the same changes each time are wanted
class Mutator {
 public:
  Bytes change(Bytes bytes, const Bytes& other) {
    for (std::size_t count = below(8) + 1; count > 0; --count) changeOnce(bytes, other);
    bytes.resize(std::min(bytes.size(), kLargest));
    return bytes;
  }
  std::size_t below(std::size_t limit) { return random_() % limit; }

 private:
  void changeOnce(Bytes& bytes, const Bytes& other) {
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(below(bytes.size() + 1));
    const auto end = at + static_cast<std::ptrdiff_t>(below(static_cast<std::size_t>(bytes.end() - at) + 1));
    const auto kind = below(4);
    if (kind == 0 && at != bytes.end()) *at ^= static_cast<std::uint8_t>(1U << below(8));
    if (kind == 1) bytes.insert(at, static_cast<std::uint8_t>("\xFF\x7F\0{[\"e9"[below(8)]));
    if (kind == 2) bytes.erase(at, end);
    if (kind == 3) bytes.insert(at, other.begin(), other.end());
  }

  std::mt19937 random_;
};

}  // namespace

int main(int argc, char** argv) {
  std::size_t runs = 0;
  if (argc < 2 || std::from_chars(argv[1], argv[1] + std::string_view(argv[1]).size(), runs).ec != std::errc()) {
    return 2;
  }
  const std::vector<Bytes> seeds = readSeeds(argv + 2, argv + argc);
  for (const Bytes& seed : seeds) LLVMFuzzerTestOneInput(seed.data(), seed.size());
  Mutator mutator;
  for (std::size_t run = 0; run < runs; ++run) {
    const Bytes input = mutator.change(seeds[mutator.below(seeds.size())], seeds[mutator.below(seeds.size())]);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  std::cout << seeds.size() << " seeds and " << runs << " changes of them\n";
}
