// A capture's frames to ranging reports, beside a loop that reads the file's records and finds the
// company identifier in each.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "bench/Services.h"
#include "bench/Walker.h"
#include "platform/replay/BtsnoopWriter.h"
#include "platform/replay/ReplayLocationService.h"

namespace {

using namespace std::chrono_literals;

constexpr int kFrames = 200'000;
constexpr int kBeacons = 20;
/// Each beacon sends ten frames a second.
constexpr platform::Duration kBetweenFrames = 1s / (10 * kBeacons);

platform::Advertisement heard(int i) {
  platform::Advertisement frame = bench::frame(i % kBeacons, -60 - i % 7);
  frame.address = {0xC0, 0, 0, 0, 0, static_cast<std::uint8_t>(i % kBeacons)};
  return frame;
}

void write(const std::string& path) {
  platform::BtsnoopWriter capture(path);
  for (int i = 0; i < kFrames; ++i) capture.write(heard(i), platform::UTCTime(i * kBetweenFrames));
  capture.flush();
}

void replay(benchmark::State& state, const std::string& path) {
  const auto region = platform::CLBeaconRegion::initWithProximityUUID_identifier(
      bench::beacon(0).proximityUUID, "network");
  for (auto _ : state) {
    platform::ReplayLocationService::Options options;
    options.capture = path;
    platform::ReplayLocationService service(std::move(options));
    const auto walker = std::make_shared<bench::Walker>();
    const auto manager = service.createManager();
    manager->setDelegate(walker);
    manager->startMonitoringForRegion(region);
    manager->startRangingBeaconsInRegion(region);
    service.run();
    const auto seconds = kFrames * kBetweenFrames / 1s;
    if (walker->reports < seconds || walker->ranged < seconds * kBeacons) {
      state.SkipWithError("reports are missing");
    }
  }
  state.SetItemsProcessed(state.iterations() * kFrames);
}

template <typename Number>
Number bigEndian(const char* bytes) {
  Number value = 0;
  for (std::size_t i = 0; i < sizeof(Number); ++i) {
    value = static_cast<Number>(value << 8U | static_cast<unsigned char>(bytes[i]));
  }
  return value;
}

/// What the shortest of scripts does: a record's header, its bytes, and a search in them.
void search(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    std::ifstream file(path, std::ios::binary);
    file.ignore(16);
    std::array<char, 24> header{};
    std::string packet;
    std::int64_t found = 0;
    while (file.read(header.data(), header.size())) {
      packet.resize(bigEndian<std::uint32_t>(&header[4]));
      file.read(packet.data(), static_cast<std::streamsize>(packet.size()));
      if (packet.find("\xFF\x4C\x00\x02\x15", 0, 5) != std::string::npos) ++found;
    }
    if (found != kFrames) state.SkipWithError("frames are missing");
  }
  state.SetItemsProcessed(state.iterations() * kFrames);
}

}  // namespace

/// usage: CaptureBench [--benchmark…] FILE, which it writes.
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (argc != 2) return 2;
  const std::string path = argv[1];
  write(path);
  benchmark::RegisterBenchmark("Replay", replay, path)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Search", search, path)->Unit(benchmark::kMillisecond);
  benchmark::RunSpecifiedBenchmarks();
}
