// A reply's bytes to a record, beside simdjson's parse of the same bytes into its own tree.
#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <string>

#include "bench/Services.h"

namespace {

constexpr int kPlaces = 10'000;

void resolve(benchmark::State& state) {
  const std::optional<std::string> body = bench::resolveReply(1);
  for (auto _ : state) {
    const auto record = BVAPIResolve::parse(body);
    if (!record->waybeacon()->name()) state.SkipWithError("no name");
  }
}

/// What that record takes by itself, however its texts were found.
void resolveRecord(benchmark::State& state) {
  const auto resolve = BVAPIResolve::parse(bench::resolveReply(1));
  for (auto _ : state) {
    auto copy = std::make_shared<BVAPIResolve>(*resolve);
    copy->setWaybeacon(std::make_shared<const BVWaybeacon>(*resolve->waybeacon()));
    benchmark::DoNotOptimize(copy);
  }
}

void nearest(benchmark::State& state) {
  const std::optional<std::string> body = bench::nearestReply(kPlaces);
  for (auto _ : state) {
    const auto record = BVAPINearest::parse(body);
    if (record->beacons()->size() != kPlaces) state.SkipWithError("places are missing");
  }
}

/// What the records of that list take by themselves, however their texts were found.
void nearestRecords(benchmark::State& state) {
  const auto nearest = BVAPINearest::parse(bench::nearestReply(kPlaces));
  for (auto _ : state) {
    BVWaybeaconDistance::List places;
    places.reserve(nearest->beacons()->size());
    for (const auto& place : *nearest->beacons()) {
      auto copy = std::make_shared<BVWaybeaconDistance>(*place);
      copy->setLocal(std::make_shared<const BVLocal>(*place->local()));
      places.push_back(std::move(copy));
    }
    benchmark::DoNotOptimize(places);
  }
}

/// With a parser that is kept, as simdjson recommends.
void dom(benchmark::State& state, const std::string& body) {
  simdjson::dom::parser parser;
  for (auto _ : state) {
    simdjson::dom::element root;
    if (parser.parse(body).get(root) != simdjson::SUCCESS) state.SkipWithError("no JSON");
    benchmark::DoNotOptimize(root);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  bench::install(std::make_shared<bench::Http>());
  benchmark::RegisterBenchmark("Resolve", resolve);
  benchmark::RegisterBenchmark("ResolveRecord", resolveRecord);
  benchmark::RegisterBenchmark("ResolveDom", dom, bench::resolveReply(1));
  benchmark::RegisterBenchmark("Nearest", nearest)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("NearestRecords", nearestRecords)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("NearestDom", dom, bench::nearestReply(kPlaces))
      ->Unit(benchmark::kMillisecond);
  benchmark::RunSpecifiedBenchmarks();
}
