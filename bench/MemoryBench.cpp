// What the library keeps in memory, beside the bytes of the replies that it was made of. Prints one
// JSON object.
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "bench/CountedHeap.h"
#include "bench/Services.h"

namespace {

constexpr int kBeacons = 1000;
constexpr int kPlaces = 10'000;

/// Answers each request at once, inside the call.
class Service final : public platform::HTTPClient {
 public:
  void execute(platform::HTTPRequest request, Completion completion) override {
    const bool isResolve = request.url.ends_with("resolve/");
    std::string reply =
        isResolve ? bench::resolveReply(resolved++) : R"({"access_token":"t","status":true})";
    if (isResolve) bytes += reply.size();
    completion(platform::HTTPResponse{200}, std::move(reply));
  }

  int resolved = 0;
  std::size_t bytes = 0;
};

void measureCache(Service& service) {
  const auto host = std::make_shared<bench::Host>();
  const auto manager = BVManager::initWithDelegate(host);
  const auto beacons = bench::beacons(kBeacons);
  const std::size_t before = bench::heapHeld();
  for (int report = 0; report < 2; ++report) {
    manager->locationManager_didRangeBeacons_inRegion(*manager->locationManager(), beacons,
                                                      *manager->getRegion());
  }
  if (service.resolved != kBeacons || host->matches != 2 * kBeacons) std::abort();
  std::printf(R"({"cache":%zu,"cacheReplies":%zu,)", bench::heapHeld() - before, service.bytes);
}

void measureNearest() {
  const std::optional<std::string> body = bench::nearestReply(kPlaces);
  const std::size_t before = bench::heapHeld();
  bench::forgetHeapPeak();
  const auto nearest = BVAPINearest::parse(body);
  if (nearest->beacons()->size() != kPlaces) std::abort();
  std::printf(R"("nearest":%zu,"nearestPeak":%zu,"nearestReply":%zu})"
              "\n",
              bench::heapHeld() - before, bench::heapPeak() - before, body->size());
}

}  // namespace

int main() {
  const auto service = std::make_shared<Service>();
  bench::install(service);
  measureCache(*service);
  measureNearest();
}
