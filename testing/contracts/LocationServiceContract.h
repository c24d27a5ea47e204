// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Location.h"
#include "platform/location/Advertisement.h"
#include "platform/location/Instant.h"
#include "testing/BeaconFrame.h"
#include "testing/Journal.h"
#include "testing/RecordingLocationDelegate.h"

namespace brivane::testing {

/// What platform/Location.h promises of a location service and its managers, as far as the library
/// relies on it. `Harness` has a service whose user permits everything, and managers of the thread
/// that makes it:
///
///   std::shared_ptr<platform::LocationService> service();
///   /// Lets so much time pass, in which each of `onAir` is heard at least twice a second. Before
///   /// that, whoever asks for permission gets it.
///   void pass(platform::Duration time, const std::vector<platform::Advertisement>& onAir);
template <typename Harness>
class LocationServiceContract : public ::testing::Test {
 protected:
  using Manager = platform::CLLocationManager;

  std::shared_ptr<Manager> createManager() {
    auto manager = harness.service()->createManager();
    manager->setDelegate(delegate);
    if (manager->offersRequestAlwaysAuthorization()) manager->requestAlwaysAuthorization();
    return manager;
  }
  /// What is heard in that time, a word a call; the same several times in a row as one.
  std::string pass(std::chrono::seconds time,
                   const std::vector<platform::Advertisement>& onAir = {}) {
    EXPECT_EQ(journal->take(), "") << "told from inside an operation";
    harness.pass(time, onAir);
    const std::string all = journal->take(" ");
    std::string told, last;
    for (std::size_t begin = 0; begin < all.size();) {
      const std::size_t end = std::min(all.find(' ', begin), all.size());
      const std::string word = all.substr(begin, end - begin);
      if (word != last) told += (told.empty() ? "" : " ") + word;
      last = word;
      begin = end + 1;
    }
    return told;
  }

  Harness harness;
  const std::shared_ptr<Journal> journal = std::make_shared<Journal>();
  const std::shared_ptr<RecordingLocationDelegate> delegate =
      std::make_shared<RecordingLocationDelegate>(journal);
  const std::shared_ptr<platform::CLBeaconRegion> region =
      platform::CLBeaconRegion::initWithProximityUUID_identifier(networkUUID(), "r");
  const std::vector<platform::Advertisement> beacons = {networkFrame(1, 2, -80),
                                                        networkFrame(1, 1, -60)};
};

TYPED_TEST_SUITE_P(LocationServiceContract);

TYPED_TEST_P(LocationServiceContract, TellsOfTheRegionAndItsBeacons) {
  using namespace std::chrono_literals;
  const auto manager = this->createManager();
  const std::string permission = this->pass(5s);
  EXPECT_TRUE(permission.ends_with("auth3")) << permission;
  EXPECT_EQ(this->harness.service()->authorizationStatus(),
            platform::kCLAuthorizationStatusAuthorizedAlways);
  EXPECT_TRUE(this->harness.service()->locationServicesEnabled());
  manager->startMonitoringForRegion(this->region);
  EXPECT_EQ(this->pass(5s, this->beacons), "enter state1");
  manager->requestStateForRegion(this->region);
  EXPECT_EQ(this->pass(5s, this->beacons), "state1");
  manager->startRangingBeaconsInRegion(this->region);
  EXPECT_EQ(this->pass(5s, this->beacons), "range-60,-80");  // the nearest first
  manager->stopRangingBeaconsInRegion(*this->region);
  EXPECT_EQ(this->pass(5s, this->beacons), "");
  EXPECT_EQ(this->pass(120s), "exit state2");
  manager->stopMonitoringForRegion(*this->region);
  EXPECT_EQ(this->pass(5s, this->beacons), "");
}

TYPED_TEST_P(LocationServiceContract, CallsNothingOfAManagerThatHasGone) {
  using namespace std::chrono_literals;
  auto manager = this->createManager();
  manager->startRangingBeaconsInRegion(this->region);
  this->pass(5s, this->beacons);
  this->delegate->onCall([&manager](auto&, const std::string&) { manager.reset(); });
  EXPECT_EQ(this->pass(5s, this->beacons), "range-60,-80");  // once
  this->delegate->onCall(nullptr);
  manager = this->createManager();
  manager->setDelegate({});
  manager->startRangingBeaconsInRegion(this->region);
  EXPECT_EQ(this->pass(5s, this->beacons), "");
}

TYPED_TEST_P(LocationServiceContract, EndsAnExceptionOfTheDelegates) {
  using namespace std::chrono_literals;
  const auto manager = this->createManager();
  manager->startMonitoringForRegion(this->region);
  this->delegate->onCall(
      [](auto&, const std::string&) { throw std::runtime_error("a host's own"); });
  const std::string told = this->pass(5s, this->beacons);
  EXPECT_NE(told.find("enter"), told.npos) << told;
  EXPECT_NE(told.find("state1"), told.npos) << told;
}

REGISTER_TYPED_TEST_SUITE_P(LocationServiceContract, TellsOfTheRegionAndItsBeacons,
                            CallsNothingOfAManagerThatHasGone, EndsAnExceptionOfTheDelegates);

}  // namespace brivane::testing
