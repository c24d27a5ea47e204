// SPDX-License-Identifier: Apache-2.0

// A reply's bytes to records, beside the same records made with other JSON libraries, and beside
// simdjson's parse into its own tree, which copies no text and makes no record.
#include <benchmark/benchmark.h>
#include <simdjson.h>

#include "bench/PeerReplies.h"
#include "bench/Services.h"

namespace {

template <typename Read>
void measure(benchmark::State& state, const std::optional<std::string>& body, Read read) {
  for (auto _ : state) {
    if (!read(body)) state.SkipWithError("no record");
  }
}

void tree(benchmark::State& state, const std::optional<std::string>& body) {
  simdjson::dom::parser parser;  // kept, as simdjson recommends
  measure(state, body,
          [&](const auto& json) { return parser.parse(*json).error() == simdjson::SUCCESS; });
}

template <typename JSON>
void add(const std::string& name, const std::optional<std::string>& resolve,
         const std::optional<std::string>& nearest) {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark(("Resolve/" + name).c_str(), [&resolve](benchmark::State& state) {
    measure(state, resolve, [](const auto& body) { return bench::Peer<JSON>::resolve(*body); });
  });
  RegisterBenchmark(("Nearest/" + name).c_str(), [&nearest](benchmark::State& state) {
    measure(state, nearest, [](const auto& body) { return bench::Peer<JSON>::nearest(*body); });
  });
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  bench::install(std::make_shared<bench::Service>());
  const std::optional<std::string> resolve = bench::resolveReply(1);
  const std::optional<std::string> nearest = bench::nearestReply(1000);
  benchmark::RegisterBenchmark("Resolve", measure<decltype(&BVAPIResolve::parse)>, resolve,
                               &BVAPIResolve::parse);
  benchmark::RegisterBenchmark("Resolve/tree", tree, resolve);
  benchmark::RegisterBenchmark("Nearest", measure<decltype(&BVAPINearest::parse)>, nearest,
                               &BVAPINearest::parse);
  benchmark::RegisterBenchmark("Nearest/tree", tree, nearest);
  add<bench::RapidJSON>("RapidJSON", resolve, nearest);
  add<bench::Nlohmann>("nlohmann", resolve, nearest);
  benchmark::RunSpecifiedBenchmarks();
}
