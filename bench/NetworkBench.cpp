// Requests over TLS on loopback, beside a plain libcurl program that sends the same ones.
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bench/Connections.h"
#include "bench/PlainClient.h"
#include "bench/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "tests/support/TLSServer.h"

namespace {

constexpr int kBeacons = 5000;
constexpr const char* kKey = "dev-key";
constexpr const char* kSecret = "dev-secret";
constexpr const char* kToken = "t0ken";

/// A service on loopback.
struct Server {
  std::string port;
  std::string caFile;
  /// As many requests at once as the library has under way there.
  int parallel;

  std::string connectTo() const {
    return std::string(BVNetwork::apiHost()) + ":443:127.0.0.1:" + port;
  }
};

const std::shared_ptr<bench::Http>& http() {
  static const auto only = std::make_shared<bench::Http>();
  return only;
}

/// Lets a thread wait until it has heard enough.
class WaitingHost final : public bench::Host {
 public:
  void didIsReady() override {
    ready = true;
    ready.notify_all();
  }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& /*match*/) override {
    if (++matches < kBeacons) return;
    done = true;
    done.notify_all();
  }

  std::atomic<bool> ready = false;
  std::atomic<bool> done = false;
};

/// The library on one server, with connections of its own.
class Session {
 public:
  explicit Session(const Server& server) {
    http()->client = std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{
        .connectTo = server.connectTo(), .caFile = server.caFile});
  }
  ~Session() { http()->client.reset(); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void login() {
    manager_ = BVManager::initWithDelegate_andAPIKey_andAPISecret(host_, kKey, kSecret);
    host_->ready.wait(false);
    manager_->startDetection();
  }

  void resolve(const std::vector<platform::CLBeacon>& beacons) {
    manager_->locationManager_didRangeBeacons_inRegion(*manager_->locationManager(), beacons,
                                                       *manager_->getRegion());
    host_->done.wait(false);
  }

 private:
  const std::shared_ptr<WaitingHost> host_ = std::make_shared<WaitingHost>();
  std::shared_ptr<BVManager> manager_;
};

std::string url(const std::string& endpoint) {
  // The library asks for host and prefix twice.
  return BVAPI::getEPURL(BVAPI::getEPURL(endpoint));
}

const std::string& device() {
  static const std::string only =
      "installID=" + BVUtil::getInstallationID().value_or("") + "&model=" + BVUtil::getModel();
  return only;
}

void login(bench::PlainClient& client) {
  client.post({{url("oauth2/token/"), std::string("client_id=") + kKey + "&client_secret=" +
                                          kSecret + "&grant_type=client_credentials"}});
  client.authorize(kToken);
  client.post({{url("sync/"), device()}});
}

/// Times `timed` alone, and counts the connections of `setUp` and `timed`.
template <typename SetUp, typename Timed>
void measure(benchmark::State& state, SetUp setUp, Timed timed) {
  const int before = bench::connectionsOpened();
  for (auto _ : state) {
    auto subject = setUp();
    const auto start = std::chrono::steady_clock::now();
    timed(*subject);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count());
  }
  const int opened = bench::connectionsOpened() - before;
  state.counters["connections"] =
      static_cast<double>(opened) / static_cast<double>(state.iterations());
}

void burst(benchmark::State& state, const Server& server) {
  const auto beacons = bench::beacons(kBeacons);
  measure(
      state,
      [&] {
        auto session = std::make_unique<Session>(server);
        session->login();
        return session;
      },
      [&](Session& session) { session.resolve(beacons); });
}

void plainBurst(benchmark::State& state, const Server& server) {
  std::vector<bench::PlainClient::Request> requests;
  for (const auto& beacon : bench::beacons(kBeacons)) {
    requests.push_back({url("resolve/"), "battery=-1&" + device() +
                                             "&major=" + std::to_string(beacon.major) +
                                             "&minor=" + std::to_string(beacon.minor) +
                                             "&rssi=-60&uuid=" + BVNetwork::proximityUUID()});
  }
  measure(
      state,
      [&] {
        auto client = std::make_unique<bench::PlainClient>(server.connectTo(), server.caFile,
                                                           server.parallel);
        login(*client);
        return client;
      },
      [&](bench::PlainClient& client) {
        for (const std::string& reply : client.post(requests)) {
          if (reply.find("waybeacon") == std::string::npos) state.SkipWithError("no record");
        }
      });
}

void ready(benchmark::State& state, const Server& server) {
  measure(
      state, [&] { return std::make_unique<Session>(server); },
      [](Session& session) { session.login(); });
}

void plainReady(benchmark::State& state, const Server& server) {
  measure(
      state,
      [&] {
        return std::make_unique<bench::PlainClient>(server.connectTo(), server.caFile,
                                                    server.parallel);
      },
      [](bench::PlainClient& client) { login(client); });
}

void add(const std::string& protocol, const Server& server) {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark(("Burst/" + protocol).c_str(), burst, server)->UseManualTime()->Iterations(1);
  RegisterBenchmark(("PlainBurst/" + protocol).c_str(), plainBurst, server)
      ->UseManualTime()
      ->Iterations(1);
  RegisterBenchmark(("Ready/" + protocol).c_str(), ready, server)->UseManualTime()->Iterations(5);
  RegisterBenchmark(("PlainReady/" + protocol).c_str(), plainReady, server)
      ->UseManualTime()
      ->Iterations(5);
}

/// A reply that serves for login, sync and resolve.
std::string reply() {
  return std::string(R"({"access_token":")") + kToken + R"(",)" + bench::resolveReply(1).substr(1);
}

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

/// usage: NetworkBench --reply, which prints what the HTTP/2 server is to answer, or
/// NetworkBench [--benchmark…] CERTIFICATE KEY PORT_OF_HTTP_2
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (argc == 2 && argv[1] == std::string("--reply")) {
    std::printf("%s", reply().c_str());
    return 0;
  }
  if (argc != 4) return 2;
  const TLSServer http1({contents(argv[1]), contents(argv[2])},
                        TLSServer::answering(TLSServer::reply(reply())));
  bench::install(http());
  add("HTTP1.1", {.port = std::to_string(http1.port()), .caFile = argv[1], .parallel = 6});
  add("HTTP2", {.port = argv[3], .caFile = argv[1], .parallel = 100});
  benchmark::RunSpecifiedBenchmarks();
}
