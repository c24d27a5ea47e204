// SPDX-License-Identifier: Apache-2.0

// A ranging report of cached beacons, up to the host's `didBVMatch`; beside it, what a host would
// do that kept the records in a map of its own.
#include <benchmark/benchmark.h>

#include <string>
#include <unordered_map>

#include "bench/Services.h"

namespace {

void library(benchmark::State& state) {
  const auto beacons = bench::beacons(static_cast<int>(state.range(0)));
  const auto host = std::make_shared<bench::Host>();
  const auto manager = BVManager::initWithDelegate(host);
  manager->startDetection();
  bench::report(*manager, beacons);  // the answers are cached
  host->matches = 0;
  for (auto _ : state) bench::report(*manager, beacons);
  if (host->matches != state.iterations() * state.range(0)) state.SkipWithError("not all matched");
  manager->stopDetection();
}

void map(benchmark::State& state) {
  const auto beacons = bench::beacons(static_cast<int>(state.range(0)));
  bench::Host host;
  BVManagerDelegate* delegate = &host;
  benchmark::DoNotOptimize(delegate);
  std::unordered_map<std::string, std::shared_ptr<const BVAPIResolve>> records;
  for (const auto& beacon : beacons) {
    records[bench::keyOf(beacon)] = BVAPIResolve::parse(bench::resolveReply(beacon.minor));
  }
  for (auto _ : state) {
    for (const auto& beacon : beacons) delegate->didBVMatch(records.at(bench::keyOf(beacon)));
  }
  if (host.matches != state.iterations() * state.range(0)) state.SkipWithError("not all matched");
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  bench::install(std::make_shared<bench::Service>());
  for (const int count : {10, 100, 10'000}) {
    benchmark::RegisterBenchmark("Report", library)->Arg(count);
    benchmark::RegisterBenchmark("Map", map)->Arg(count);
  }
  benchmark::RunSpecifiedBenchmarks();
}
