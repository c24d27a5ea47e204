// SPDX-License-Identifier: Apache-2.0

// A report of beacons that are all new, until the last is matched, over TLS on loopback. Beside it
// a program of libcurl and a JSON library that sends the same requests and makes the same records;
// and one that does not look at the replies.
//
// usage: NetworkBench [--benchmark…] CERTIFICATE KEY [PORT] for a server of HTTP/2 on that port, or
// one of HTTP/1.1 that runs here; or NetworkBench --reply, which prints what they answer.
#include <benchmark/benchmark.h>
#include <httplib.h>

#include <cstdio>
#include <semaphore>
#include <string>
#include <thread>
#include <unordered_map>

#include "bench/PeerReplies.h"
#include "bench/PlainClient.h"
#include "bench/Services.h"
#include "platform/curl/CurlHTTPClient.h"

namespace {

constexpr int kBeacons = 5000;
constexpr const char* kToken = "t0ken";

struct Server {
  std::string connectTo;
  std::string caFile;
  /// As many requests at once as the library has under way there.
  int parallel;
};

/// Lets a thread wait until it has heard enough.
class WaitingHost final : public bench::Host {
 public:
  void didIsReady() override { ready.release(); }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& /*match*/) override {
    if (++matches % kBeacons == 0) matched.release();
  }

  std::binary_semaphore ready{0};
  std::binary_semaphore matched{0};
};

void library(benchmark::State& state) {
  const auto host = std::make_shared<WaitingHost>();
  const auto manager = BVManager::initWithDelegate(host);
  host->ready.acquire();
  const auto beacons = bench::beacons(kBeacons);
  for (auto _ : state) {
    manager->stopDetection();
    manager->startDetection();  // forgets the answers
    bench::report(*manager, beacons);
    host->matched.acquire();
  }
}

std::vector<bench::PlainClient::Request> requestsFor(
    const std::vector<platform::CLBeacon>& beacons) {
  const std::string device =
      "installID=" + BVUtil::getInstallationID().value_or("") + "&model=" + BVUtil::getModel();
  // The library asks for host and prefix twice.
  const std::string url = BVAPI::getEPURL(BVAPI::getEPURL("resolve/"));
  std::vector<bench::PlainClient::Request> requests;
  for (const auto& beacon : beacons) {
    requests.push_back({url, "battery=-1&" + device + "&major=" + std::to_string(beacon.major) +
                                 "&minor=" + std::to_string(beacon.minor) +
                                 "&rssi=-60&uuid=" + BVNetwork::proximityUUID()});
  }
  return requests;
}

void plain(benchmark::State& state, const Server& server) {
  bench::PlainClient client(server.connectTo, server.caFile, server.parallel, kToken);
  const auto beacons = bench::beacons(kBeacons);
  for (auto _ : state) {
    bench::Host host;
    std::unordered_map<std::string, std::shared_ptr<const BVAPIResolve>> records;
    client.post(requestsFor(beacons), [&](std::size_t i, const std::string& reply) {
      auto& record = records[bench::keyOf(beacons[i])];
      record = bench::Peer<bench::Nlohmann>::resolve(reply);
      if (record->waybeacon()->name()) host.didBVMatch(record);
    });
    if (host.matches != kBeacons) state.SkipWithError("matches are missing");
  }
}

void unread(benchmark::State& state, const Server& server) {
  bench::PlainClient client(server.connectTo, server.caFile, server.parallel, kToken);
  const auto requests = requestsFor(bench::beacons(kBeacons));
  for (auto _ : state) client.post(requests, [](std::size_t, const std::string&) {});
}

/// A reply that serves for login, sync and resolve.
std::string reply() {
  return std::string(R"({"access_token":")") + kToken + R"(",)" + bench::resolveReply(1).substr(1);
}

/// The port that it is bound to.
int configure(httplib::SSLServer& server) {
  server.new_task_queue = [] { return new httplib::ThreadPool(32); };  // one a connection
  server.set_tcp_nodelay(true);
  server.set_keep_alive_timeout(60);
  server.set_keep_alive_max_count(1'000'000);
  server.Post(".*", [answer = reply()](const httplib::Request&, httplib::Response& response) {
    response.set_content(answer, "application/octet-stream");  // JSON would be compressed
  });
  return server.bind_to_any_port("127.0.0.1");
}

void measure(const Server& server) {
  const auto http = std::make_shared<platform::CurlHTTPClient>(
      platform::CurlHTTPClient::Options{.connectTo = server.connectTo, .caFile = server.caFile});
  bench::install(http);
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("Library", library)->UseRealTime()->Iterations(1);
  RegisterBenchmark("Plain", plain, server)->UseRealTime()->Iterations(1);
  RegisterBenchmark("Unread", unread, server)->UseRealTime()->Iterations(1);
  benchmark::RunSpecifiedBenchmarks();
  http->shutdown();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (argc == 2 && argv[1] == std::string("--reply")) {
    std::printf("%s", reply().c_str());
    return 0;
  }
  if (argc != 3 && argc != 4) return 2;
  httplib::SSLServer http1(argv[1], argv[2]);
  const std::string port = argc == 4 ? argv[3] : std::to_string(configure(http1));
  std::thread serving([&] { http1.listen_after_bind(); });
  measure({.connectTo = std::string(BVNetwork::apiHost()) + ":443:127.0.0.1:" + port,
           .caFile = argv[1],
           .parallel = argc == 4 ? 100 : 6});
  http1.stop();
  serving.join();
}
