// SPDX-License-Identifier: Apache-2.0

// What the library keeps in memory, and what it takes at most while it reads a reply: what
// `operator new` hands out, as the allocator rounds it. Prints a line for each: a name and bytes.
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "bench/PeerReplies.h"
#include "bench/Services.h"

namespace {

constexpr int kBeacons = 1000;
constexpr int kPlaces = 1000;

std::size_t held = 0;
std::size_t peak = 0;

}  // namespace

// The standard library's other forms call these; all is allocated on one thread.

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

namespace {

void measureCache(const bench::Service& service) {
  const auto host = std::make_shared<bench::Host>();
  const auto manager = BVManager::initWithDelegate(host);
  const auto beacons = bench::beacons(kBeacons);
  const std::size_t before = held;
  bench::report(*manager, beacons);
  bench::report(*manager, beacons);
  if (service.resolved != kBeacons || host->matches != 2 * kBeacons) std::abort();
  std::printf("cache %zu\ncacheReplies %zu\n", held - before, service.bytes);
}

template <typename Read>
void measureNearest(const char* name, Read read) {
  const std::optional<std::string> body = bench::nearestReply(kPlaces);
  const std::size_t before = held;
  peak = held;
  const auto places = read(body);
  std::printf("%s %zu\n%sPeak %zu\n%sReply %zu\n", name, held - before, name, peak - before, name,
              body->size());
}

}  // namespace

int main() {
  const auto service = std::make_shared<bench::Service>();
  bench::install(service);
  measureCache(*service);
  measureNearest("nearest", [](const auto& body) { return BVAPINearest::parse(body); });
  measureNearest("nlohmann",
                 [](const auto& body) { return bench::Peer<bench::Nlohmann>::nearest(*body); });
}
