#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "BrivaneSDK/BVManager.h"
#include "platform/PropertyList.h"
#include "platform/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/files/KeyFilePreferences.h"
#include "platform/json/SimdJSON.h"
#include "platform/location/LocationCore.h"
#include "service/Service.h"
#include "tests/support/Street.h"
#include "tests/support/Frames.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;

constexpr auto kLong = 1s;

class Credentials final : public platform::PropertyList {
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
    return key == "BrivaneAPIKey" ? "dev-key" : "dev-secret";
  }
};

/// A service that knows a street, and fails at times; in a process of its own, as this one ends and forks.
class Town {
 public:
  Town() {
    int told[2];
    if (pipe2(static_cast<int*>(told), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    process_ = fork();
    if (process_ == 0) serve(told[1]);
    close(told[1]);
    if (read(told[0], &port_, sizeof port_) != sizeof port_) throw std::runtime_error("no service");
    close(told[0]);
  }
  ~Town() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Town(const Town&) = delete;
  Town& operator=(const Town&) = delete;

  std::uint16_t port() const { return port_; }
  std::string file(const std::string& name) const { return folder_.path() / name; }
  std::string certificateFile() const { return folder_.write("ca.pem", certificate_.certificatePEM); }

 private:
  [[noreturn]] void serve(int toParent) const {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    service::Service::Options options;
    options.certificate = certificate_;
    options.apiHost = BRIVANE_API_HOST;
    options.endpoints.network = Street::network();
    options.faults = {service::Fault::parse("drop=0.05"), service::Fault::parse("bad-json=0.05")};
    const service::Service service(options);
    const std::uint16_t port = service.port();
    if (write(toParent, &port, sizeof port) != sizeof port) _exit(1);
    for (;;) pause();
  }

  const TemporaryFolder folder_;
  const service::Certificate certificate_ = service::makeCertificate(BRIVANE_API_HOST, -1h, 1h);
  pid_t process_ = 0;
  std::uint16_t port_ = 0;
};

/// The library in the town, on real TLS, with a radio that hears ten beacons. Made once a process.
class Phone {
 public:
  explicit Phone(const Town& town)
      : curl_(std::make_shared<platform::CurlHTTPClient>(platform::CurlHTTPClient::Options{
            .connectTo = std::string(BRIVANE_API_HOST) + ":443:127.0.0.1:" + std::to_string(town.port()),
            .caFile = town.certificateFile()})),
        radio_([this] { listen(); }) {
    platform::install({.http = curl_,
                       .json = std::make_shared<platform::SimdJSON>(),
                       .preferences = std::make_shared<platform::KeyFilePreferences>(town.file("preferences")),
                       .propertyList = std::make_shared<Credentials>(),
                       .location = location_});
  }
  ~Phone() {
    silent_ = true;
    radio_.join();
    curl_->shutdown();
  }
  Phone(const Phone&) = delete;
  Phone& operator=(const Phone&) = delete;

 private:
  void listen() {
    for (platform::Instant now{}; !silent_; now += 100ms) {
      for (std::uint16_t minor = 0; minor < 10; ++minor) location_->hear(beaconFrame(kNetwork, 0, minor, -60), now);
      location_->locate({.coordinate = {40.0 + static_cast<double>(now.time_since_epoch().count() % 90) * 1e-3, -3.0}},
                        now);
      location_->advance(now);
      std::this_thread::sleep_for(1ms);
    }
  }

  const std::shared_ptr<platform::CurlHTTPClient> curl_;
  const std::shared_ptr<platform::LocationCore> location_ = std::make_shared<platform::LocationCore>(
      platform::LocationCore::Options{.authorization = platform::kCLAuthorizationStatusAuthorizedAlways});
  std::atomic<bool> silent_ = false;
  std::thread radio_;
};

/// Hosts that do on any thread, and inside any call, whatever comes to their mind with managers that they share.
class WildHosts {
 public:
  void act(unsigned choice) {
    auto& slot = slots_.at(choice / 16 % slots_.size());
    const auto manager = take(slot);
    if (choice % 16 == 0) return put(slot, nullptr);
    if (choice % 16 == 1 || !manager) return put(slot, BVManager::initWithDelegate(std::make_shared<Host>(*this)));
    if (choice % 16 < 6) manager->startDetection();
    if (choice % 16 == 6) manager->stopDetection();
    if (choice % 16 == 7) manager->setDelegate(choice % 3 == 0 ? nullptr : std::make_shared<Host>(*this));
    if (choice % 16 == 8) manager->setEnabledGPS(choice % 3 != 0);
    if (choice % 16 == 9) manager->getNearestAtLat_andLng_insideRadius(40, -3, 10);
    if (choice % 16 == 10) manager->setPayload_forWaybeacon({}, nullptr);
    if (choice % 16 == 11) std::this_thread::sleep_for(2ms);
    if (choice % 16 == 12) throw std::runtime_error("a host's own");
    manager->isScanning();
  }

  /// A thread of a host's.
  void live(unsigned seed, int steps) {
    std::mt19937 random(seed);
    for (int step = 0; step < steps; ++step) {
      try {
        act(static_cast<unsigned>(random()));
      } catch (const std::runtime_error&) {
      }
    }
  }

 private:
  class Host final : public BVManagerDelegate {
   public:
    explicit Host(WildHosts& all) : all_(all) {}

   private:
    void react() {
      // Seldom something that makes more calls, or they would never end.
      const unsigned call = all_.calls_++;
      if (call % 8 == 0) all_.act(call / 8 * 2654435761U);
    }
    void didIsReady() override { react(); }
    void didErrorFound(const std::shared_ptr<const BVError>& /*error*/) override { react(); }
    void didBVMatch(const std::shared_ptr<const BVAPIResolve>& /*match*/) override { react(); }
    void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& /*places*/) override { react(); }

    WildHosts& all_;
  };
  struct Slot {
    std::mutex mutex;
    std::shared_ptr<BVManager> manager;
  };

  static std::shared_ptr<BVManager> take(Slot& slot) {
    const std::lock_guard lock(slot.mutex);
    return slot.manager;
  }
  static void put(Slot& slot, std::shared_ptr<BVManager> manager) {
    const std::lock_guard lock(slot.mutex);
    std::swap(slot.manager, manager);
  }

  std::array<Slot, 2> slots_;
  std::atomic<unsigned> calls_ = 0;
};

/// A host that only waits.
class CalmHost final : public BVManagerDelegate {
 public:
  bool waitFor(bool CalmHost::*what) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kLong, [&] { return this->*what; });
  }
  bool ready = false;
  bool matched = false;

 private:
  void set(bool CalmHost::*what) {
    const std::lock_guard lock(mutex_);
    this->*what = true;
    changed_.notify_all();
  }
  void didIsReady() override { set(&CalmHost::ready); }
  void didErrorFound(const std::shared_ptr<const BVError>& /*error*/) override {}
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& /*match*/) override { set(&CalmHost::matched); }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& /*places*/) override {}

  std::mutex mutex_;
  std::condition_variable changed_;
};

/// Whether a new host gets ready and hears of a place. The service fails at times, and what the wild ones asked for is
/// answered first, so it may take several.
bool worksForANewHost() {
  for (int attempt = 0; attempt < 60; ++attempt) {
    const auto host = std::make_shared<CalmHost>();
    const auto manager = BVManager::initWithDelegate(host);
    if (host->waitFor(&CalmHost::ready) && manager->startDetection() && host->waitFor(&CalmHost::matched)) return true;
  }
  return false;
}

TEST(Stress, HostsMayDoAnythingOnAnyThread) {
  WildHosts hosts;
  const Town town;
  const Phone phone(town);
  std::vector<std::thread> threads;
  for (unsigned seed = 0; seed < 4; ++seed) threads.emplace_back([&hosts, seed] { hosts.live(seed, 1000); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(worksForANewHost());
}

TEST(Stress, AProcessMayEndInTheMiddleOfIt) {
  const Town town;
  EXPECT_EXIT(
      {
        auto* const hosts = new WildHosts;
        new Phone(town);
        for (unsigned seed = 0; seed < 4; ++seed) std::thread([=] { hosts->live(seed, 1'000'000); }).detach();
        std::this_thread::sleep_for(200ms);
        std::exit(7);
      },
      testing::ExitedWithCode(7), "");
}

/// The client's connections to `port` that a program would inherit.
int inheritedConnections(std::uint16_t port) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename());
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    const bool isConnection = getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
                              peer.sin_family == AF_INET && ntohs(peer.sin_port) == port;
    if (isConnection && (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0) ++count;
  }
  return count;
}

TEST(Stress, AHostMayForkAndItsChildMayExit) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "its heap does not survive a fork among busy threads";
#endif
  WildHosts hosts;
  const Town town;
  const Phone phone(town);
  std::thread thread([&hosts] { hosts.live(1, 500); });
  for (int i = 0; i < 5; ++i) {
    const pid_t child = fork();
    if (child == 0) std::exit(3);  // as a child does whose program cannot be started
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 3);
  }
  thread.join();
  EXPECT_TRUE(worksForANewHost());
  EXPECT_EQ(inheritedConnections(town.port()), 0);
}

}  // namespace
