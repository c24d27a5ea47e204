// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <fstream>
#include <random>
#include <span>
#include <vector>

#include "tests/fuzz/Input.h"

// Stands in for libFuzzer in builds of any compiler: runs a target on its seeds as they are, and
// then on so many changes of them, the same each time.
//   TARGET RUNS FILE...

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kLargest = 12'000;

std::vector<Bytes> readSeeds(std::span<const char* const> paths) {
  std::vector<Bytes> seeds = {{}};
  for (const char* path : paths) {
    std::ifstream file(path, std::ios::binary);
    seeds.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    seeds.back().resize(std::min(seeds.back().size(), kLargest));
  }
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
  const std::span<const char* const> arguments(argv, static_cast<std::size_t>(argc));
  const std::vector<Bytes> seeds = readSeeds(arguments.subspan(2));
  for (const Bytes& seed : seeds) LLVMFuzzerTestOneInput(seed.data(), seed.size());
  std::mt19937 random;  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same changes each time are wanted
  const auto any = [&] { return seeds[random() % seeds.size()]; };
  for (auto runs = std::stoul(arguments[1]); runs > 0; --runs) {
    const Bytes input = changed(any(), any(), random);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
}
