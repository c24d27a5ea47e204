// A ranging report of cached beacons, up to the host's `didBVMatch`; beside it, what a host would
// do that kept the records in a map of its own. With the argument "log", both write their lines to
// a sink.
#include <benchmark/benchmark.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "bench/Services.h"

namespace {

using Record = std::shared_ptr<const BVAPIResolve>;

/// Answers login and sync at once, inside the call.
class ReadyAtOnce final : public platform::HTTPClient {
 public:
  void execute(platform::HTTPRequest /*request*/, Completion completion) override {
    completion(platform::HTTPResponse{200}, R"({"access_token":"t","status":true})");
  }
};

const std::shared_ptr<bench::Sink>& sink() {
  static const auto only = std::make_shared<bench::Sink>();
  return only;
}

Record record(int i) { return BVAPIResolve::parse(bench::resolveReply(i)); }

void report(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  const auto host = std::make_shared<bench::Host>();
  const auto manager = BVManager::initWithDelegate(host);
  for (const auto& beacon : bench::beacons(count)) {
    manager->receivedResolve_forRequest(
        record(beacon.minor), BVAPIResolveRequest::initWithUUID_withMajor_withMinor(
                                  beacon.proximityUUID.UUIDString(), beacon.major, beacon.minor));
  }
  const auto beacons = bench::beacons(count);
  host->matches = 0;
  for (auto _ : state) {
    manager->locationManager_didRangeBeacons_inRegion(*manager->locationManager(), beacons,
                                                      *manager->getRegion());
  }
  if (host->matches != state.iterations() * count) state.SkipWithError("matches are missing");
  state.SetItemsProcessed(state.iterations() * count);
}

std::string keyOf(const platform::CLBeacon& beacon) {
  return BVUtil::getHash_andMajor_andMinor(beacon.proximityUUID.UUIDString(), beacon.major,
                                           beacon.minor);
}

void log(const std::string& line) { sink()->write(line); }

void lookUp(benchmark::State& state, bool logs) {
  const auto count = static_cast<int>(state.range(0));
  bench::Host host;
  BVManagerDelegate* delegate = &host;
  benchmark::DoNotOptimize(delegate);
  std::unordered_map<std::string, Record> records;
  for (const auto& beacon : bench::beacons(count)) records[keyOf(beacon)] = record(beacon.minor);
  const auto beacons = bench::beacons(count);
  for (auto _ : state) {
    for (const auto& beacon : beacons) {
      if (logs) {
        log("-> Major: " + std::to_string(beacon.major) +
            " - Minor: " + std::to_string(beacon.minor));
        log("Cache hit");
        log("Received resolve!!!");
      }
      const auto found = records.find(keyOf(beacon));
      if (found != records.end()) delegate->didBVMatch(found->second);
    }
  }
  if (host.matches != state.iterations() * count) state.SkipWithError("matches are missing");
  state.SetItemsProcessed(state.iterations() * count);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const bool logs = argc > 1;
  bench::install(std::make_shared<ReadyAtOnce>(), logs ? sink() : nullptr);
  const std::string suffix = logs ? "Logged" : "";
  for (const int count : {1, 10, 100, 10'000, 100'000}) {
    benchmark::RegisterBenchmark(("Report" + suffix).c_str(), report)->Arg(count);
    benchmark::RegisterBenchmark(("LookUp" + suffix).c_str(), lookUp, logs)->Arg(count);
  }
  benchmark::RunSpecifiedBenchmarks();
}
