// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <functional>

#include "platform/location/Distance.h"
#include "platform/location/IBeaconFrame.h"
#include "testing/BeaconFrame.h"

namespace {

using namespace brivane::testing;
using namespace platform;

TEST(Frame, IsAnIBeaconOfTheRightSizeOrNothing) {
  const Advertisement good = networkFrame(0x0102, 0xFFFE, -60);
  const auto frame = IBeaconFrame::parse(good).value();
  EXPECT_EQ(frame.proximityUUID, networkUUID());
  EXPECT_EQ(frame.major << 16 | frame.minor, 0x0102FFFE);
  EXPECT_EQ(frame.measuredPower, -59);
  const std::function<void(Advertisement&)> spoilers[] = {
      [](auto& a) { a.company = 0x004D; }, [](auto& a) { a.data[0] = 0x03; },    [](auto& a) { a.data[1] = 0x16; },
      [](auto& a) { a.data.pop_back(); },  [](auto& a) { a.data.push_back(0); }, [](auto& a) { a.data.clear(); }};
  for (const auto& spoil : spoilers) {
    Advertisement bad = good;
    spoil(bad);
    EXPECT_FALSE(IBeaconFrame::parse(bad));
  }
}

TEST(Distances, AreWhatTheyAreOnTheGround) {
  EXPECT_DOUBLE_EQ(estimatedDistance(-59, -59), 1.0);
  EXPECT_NEAR(estimatedDistance(-59, -84), 10.0, 1e-9);
  EXPECT_EQ(proximityAt(0.49), 1);
  EXPECT_EQ(proximityAt(3.9), 2);
  EXPECT_EQ(proximityAt(4.0), 3);
  EXPECT_NEAR(distanceBetween({0, 0}, {0, 1}), 111195, 1);
  EXPECT_NEAR(distanceBetween({0, 179.5}, {0, -179.5}), 111195, 1);
  EXPECT_NEAR(distanceBetween({90, 0}, {-90, 77}), 20015114, 1);
}

}  // namespace
