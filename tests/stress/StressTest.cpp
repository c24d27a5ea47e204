// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "BrivaneSDK/BVManager.h"
#include "host/WatchedHTTPClient.h"
#include "platform/Services.h"
#include "platform/curl/CurlHTTPClient.h"
#include "platform/location/LocationCore.h"
#include "testing/BeaconFrame.h"
#include "testing/BeginAnew.h"
#include "testing/RecordingManagerDelegate.h"
#include "tests/support/Town.h"

namespace {

using namespace std::chrono_literals;

Town makeTown() { return Town(service::Network::load(WALKS "/old-town.json"), {"drop=0.05", "bad-json=0.05"}); }

/// The library in the town, on real TLS, with a radio that hears ten beacons. Managers go before it.
class Phone {
 public:
  explicit Phone(const Town& town) : curl_(town.makeClient()), radio_([this] { listen(); }) {
    platform::install(town.services(http_, location_));
  }
  ~Phone() {
    silent_ = true;
    radio_.join();
    curl_->shutdown();
    brivane::testing::beginAnew();
  }
  Phone(const Phone&) = delete;
  Phone& operator=(const Phone&) = delete;

  /// Waits until all requests have been answered.
  bool rest() const { return http_->waitUntilIdle(60s); }

 private:
  void listen() {
    for (platform::Instant now{}; !silent_; now += 100ms) {
      for (std::uint16_t minor = 1; minor <= 10; ++minor)
        location_->hear(brivane::testing::networkFrame(1, minor, -60), now);
      location_->locate(
          {.coordinate = {41.652 + static_cast<double>(now.time_since_epoch().count() % 90) * 5e-5, -4.728}}, now);
      location_->advance(now);
      std::this_thread::sleep_for(1ms);
    }
  }

  const std::shared_ptr<platform::CurlHTTPClient> curl_;
  const std::shared_ptr<host::WatchedHTTPClient> http_ = std::make_shared<host::WatchedHTTPClient>(curl_, nullptr);
  const std::shared_ptr<platform::LocationCore> location_ = std::make_shared<platform::LocationCore>(
      platform::LocationCore::Options{.permission = platform::alwaysPermitted});
  std::atomic<bool> silent_ = false;
  std::thread radio_;
};

using Host = brivane::testing::RecordingManagerDelegate;

/// Hosts that do on any thread, and inside any call, whatever comes to their mind with managers that they share.
class WildHosts {
 public:
  void act(unsigned choice) {
    auto& slot = slots_.at(choice / 16 % slots_.size());
    const auto manager = take(slot);
    if (choice % 16 == 0) return put(slot, nullptr);
    if (choice % 16 == 1 || !manager) return put(slot, BVManager::initWithDelegate(makeHost()));
    if (choice % 16 < 6) manager->startDetection();
    if (choice % 16 == 6) manager->stopDetection();
    if (choice % 16 == 7) manager->setDelegate(choice % 3 == 0 ? nullptr : makeHost());
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

  /// Nobody has a manager afterwards, and nobody makes one.
  void leave() {
    gone_ = true;
    for (Slot& slot : slots_) put(slot, nullptr);
  }

 private:
  using Slot = std::shared_ptr<BVManager>;

  Slot take(const Slot& slot) {
    const std::lock_guard lock(mutex_);
    return slot;
  }
  void put(Slot& slot, Slot manager) {
    const std::lock_guard lock(mutex_);
    if (!gone_ || !manager) std::swap(slot, manager);
  }

  std::shared_ptr<Host> makeHost() {
    auto host = std::make_shared<Host>();
    host->onCall([this](auto&) {
      // Seldom something that makes more calls, or they would never end.
      const unsigned call = calls_++;
      if (call % 8 == 0 && !gone_) act(call / 8 * 2654435761U);
    });
    return host;
  }

  std::mutex mutex_;
  std::array<Slot, 2> slots_;
  std::atomic<unsigned> calls_ = 0;
  std::atomic<bool> gone_ = false;
};

/// Once the wild ones have gone and the service fails no more, the next host gets ready and hears of a place.
void expectThatANewHostFares(Town& town, const Phone& phone, WildHosts& wild) {
  wild.leave();
  ASSERT_TRUE(phone.rest());
  town.recover();
  const auto host = std::make_shared<Host>();
  const auto manager = BVManager::initWithDelegate(host);
  while (!host->isReady()) std::this_thread::sleep_for(1ms);
  ASSERT_TRUE(manager->startDetection());
  while (host->matches().empty()) std::this_thread::sleep_for(1ms);
}

TEST(Stress, HostsMayDoAnythingOnAnyThread) {
  WildHosts hosts;
  Town town = makeTown();
  const Phone phone(town);
  std::vector<std::thread> threads;
  for (unsigned seed = 0; seed < 4; ++seed) threads.emplace_back([&hosts, seed] { hosts.live(seed, 1000); });
  for (std::thread& thread : threads) thread.join();
  expectThatANewHostFares(town, phone, hosts);
}

TEST(Stress, AProcessMayEndInTheMiddleOfIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // one that has had no client before
  const Town town = makeTown();
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

TEST(Stress, AHostMayForkAndItsChildMayExit) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "its heap does not survive a fork among busy threads";
#endif
  WildHosts hosts;
  Town town = makeTown();
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
  expectThatANewHostFares(town, phone, hosts);
}

}  // namespace
