// SPDX-License-Identifier: Apache-2.0
// How an application tests what it does with the library: no radio, no network, no waiting. The
// phone is a fake that does what the test says, and each test begins as a process does.
#include <BrivaneSDK/BrivaneSDK.h>
#include <gtest/gtest.h>
#include <platform/json/SimdJSON.h>
#include <testing/BeaconFrame.h>
#include <testing/Phone.h>

#include <chrono>
#include <memory>
#include <string>

namespace {

using namespace std::chrono_literals;

// The application: says the name of each new place.
class Speaker final : public BVManagerDelegate {
 public:
  std::string said;

 private:
  void didIsReady() override { said += "Ready. "; }
  void didErrorFound(const std::shared_ptr<const BVError>& /*error*/) override {
    said += "No positions. ";
  }
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    const std::string name = match->waybeacon()->name().value_or("A place without a name");
    if (said.find(name) == std::string::npos) said += name + ". ";
  }
  void didNearestWaybeacons(
      const std::shared_ptr<const BVWaybeaconDistance::List>& /*places*/) override {}
};

class Walk : public testing::Test {
 protected:
  Walk() { platform::install(phone.services(std::make_shared<platform::SimdJSON>())); }

  brivane::testing::Phone phone;
  const std::shared_ptr<Speaker> speaker = std::make_shared<Speaker>();
};

TEST_F(Walk, NamesAPlaceOnce) {
  phone.http->script("resolve/", {R"({"match":"7","waybeacon":{"name":"The baker's door"}})"});
  const auto manager = BVManager::initWithDelegate(speaker);
  phone.advance(1s);
  ASSERT_TRUE(manager->startDetection());
  phone.advance(10s, {brivane::testing::networkFrame(1, 2, -60)});  // a beacon is in range
  EXPECT_EQ(speaker->said, "Ready. The baker's door. ");
}

TEST_F(Walk, SaysThatThereAreNoPositions) {
  const auto manager = BVManager::initWithDelegate(speaker);
  phone.positions.setGrant(platform::PositionGrant::kSwitchedOff, "the user has switched them off");
  phone.advance(1s);
  manager->setEnabledGPS(true);
  EXPECT_TRUE(manager->startDetection());
  EXPECT_EQ(speaker->said, "Ready. No positions. ");
}

}  // namespace
