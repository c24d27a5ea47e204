#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "platform/location/Distance.h"
#include "platform/location/LocationCore.h"
#include "platform/location/RangingWindow.h"
#include "tests/location/Frames.h"
#include "tests/location/RecordingDelegate.h"

namespace {

using namespace std::chrono_literals;
using namespace platform;

TEST(Frame, IsAnIBeaconOfTheRightSizeOrNothing) {
  const Advertisement good = beaconFrame(kNetwork, 0x0102, 0xFFFE, -60);
  const auto frame = IBeaconFrame::parse(good);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->identity.uuid, kNetwork);
  EXPECT_EQ(frame->identity.major, 0x0102);
  EXPECT_EQ(frame->identity.minor, 0xFFFE);
  EXPECT_EQ(frame->measuredPower, -59);
  const std::function<void(Advertisement&)> spoilers[] = {
      [](auto& a) { a.company = 0x004D; }, [](auto& a) { a.data[0] = 0x03; },    [](auto& a) { a.data[1] = 0x16; },
      [](auto& a) { a.data.pop_back(); },  [](auto& a) { a.data.push_back(0); }, [](auto& a) { a.data.clear(); }};
  for (const auto& spoil : spoilers) {
    Advertisement bad = good;
    spoil(bad);
    EXPECT_FALSE(IBeaconFrame::parse(bad));
  }
}

TEST(Ranging, ReportsMeansNearestFirstAndSilentOnesLast) {
  RangingWindow window(0s);
  const auto hear = [&window](std::uint16_t minor, int rssi, Instant at) {
    window.hear(*IBeaconFrame::parse(beaconFrame(kNetwork, 1, minor, rssi)), rssi, at);
  };
  const auto report = [&window] {
    std::ostringstream text;
    for (const CLBeacon& beacon : window.report()) {
      text << beacon.minor << ':' << beacon.rssi << ':' << beacon.proximity << ' ';
    }
    return text.str();
  };
  EXPECT_EQ(report(), "");
  hear(1, -80, 1100ms);
  hear(1, -70, 1200ms);
  hear(2, -60, 1300ms);
  hear(3, 127, 1400ms);  // there, but without a reading
  hear(4, -50, 1500ms);
  EXPECT_EQ(report(), "4:-50:1 2:-60:2 1:-75:3 3:0:0 ");
  hear(1, -90, 2500ms);
  EXPECT_EQ(report(), "1:-90:3 2:0:0 3:0:0 4:0:0 ");
  for (int second = 4; second <= 6; ++second) report();
  EXPECT_EQ(report(), "1:0:0 ");
  EXPECT_EQ(report(), "");
}

TEST(Distances, AreWhatTheyAreOnTheGround) {
  EXPECT_DOUBLE_EQ(estimatedDistance(-59, -59), 1.0);
  EXPECT_NEAR(estimatedDistance(-59, -84), 10.0, 1e-9);
  EXPECT_NEAR(distanceBetween({0, 0}, {0, 1}), 111195, 1);
  EXPECT_NEAR(distanceBetween({0, 179.5}, {0, -179.5}), 111195, 1);
  EXPECT_NEAR(distanceBetween({90, 0}, {-90, 77}), 20015114, 1);
}

class Core : public testing::Test {
 protected:
  Core() { manager->setDelegate(listener); }

  std::string hear(Instant at) {
    core.hear(beaconFrame(kNetwork, 1, 1, -60), at);
    return listener->take();
  }
  std::string advance(Instant at) {
    core.advance(at);
    return listener->take();
  }

  LocationCore core{{}};
  std::shared_ptr<CLLocationManager> manager = core.createManager();
  std::shared_ptr<RecordingDelegate> listener = std::make_shared<RecordingDelegate>();
  std::shared_ptr<CLBeaconRegion> region = CLBeaconRegion::initWithProximityUUID_identifier(kNetwork, "r");
};

TEST_F(Core, ReportsWhatWasAskedForAndNothingElse) {
  EXPECT_EQ(listener->take(), "");  // never from inside a call to the manager
  EXPECT_EQ(advance(0s), "auth0");
  EXPECT_EQ(hear(1s), "");
  manager->requestStateForRegion(region);
  EXPECT_EQ(advance(1s), "state0");
  manager->startMonitoringForRegion(region);
  manager->requestStateForRegion(region);
  manager->startRangingBeaconsInRegion(region);
  EXPECT_EQ(core.nextDeadline(), std::nullopt);  // nobody has said yet when that was
  EXPECT_EQ(advance(1s), "state0");
  EXPECT_EQ(core.nextDeadline(), Instant(2s));
  EXPECT_EQ(hear(1500ms), "enter state1");
  manager->requestStateForRegion(region);
  EXPECT_EQ(hear(2500ms), "state1 range-60");
  core.hear(beaconFrame(UUID(), 1, 1, -60), 2600ms);  // of another network
  EXPECT_EQ(advance(4s), "range-60 range0");
  manager->stopRangingBeaconsInRegion(*region);
  EXPECT_EQ(advance(32s), "");
  EXPECT_EQ(advance(33s), "exit state2");
  EXPECT_EQ(core.nextDeadline(), std::nullopt);
  region->setNotifyOnEntry(false);
  EXPECT_EQ(hear(40s), "state1");
  core.setScanning(false, 41s);
  EXPECT_EQ(advance(500s), "");
  manager->startMonitoringForRegion(region);  // replaces the one under the same identifier
  core.setScanning(true, 501s);
  EXPECT_EQ(advance(531s), "state2");
  core.setAuthorization(kCLAuthorizationStatusAuthorizedAlways, false);
  EXPECT_EQ(listener->take(), "auth3");
  EXPECT_EQ(core.authorizationStatus(), 3);
  EXPECT_FALSE(core.locationServicesEnabled());
}

TEST_F(Core, LeavesARegionAfterAWholeExitPeriodOfSilence) {
  manager->startMonitoringForRegion(region);
  EXPECT_EQ(advance(0s), "auth0");
  EXPECT_EQ(advance(29s), "");
  EXPECT_EQ(advance(30s), "state2");  // it was unknown, so that is no exit
  EXPECT_EQ(advance(99s), "");
  EXPECT_EQ(hear(100s), "enter state1");
  EXPECT_EQ(hear(120s), "");
  core.setScanning(false, 140s);  // the period stands still
  core.setScanning(false, 145s);
  EXPECT_EQ(advance(500s), "");
  core.setScanning(true, 600s);
  EXPECT_EQ(advance(609s), "");
  EXPECT_EQ(advance(610s), "exit state2");
  core.setScanning(false, 611s);
  EXPECT_EQ(hear(612s), "enter state1");  // a late frame
  core.setScanning(true, 700s);
  EXPECT_EQ(advance(729s), "");
  EXPECT_EQ(advance(730s), "exit state2");
}

TEST_F(Core, BeginsAtTheTimeThatIsFedNext) {
  advance(1s);
  manager->startMonitoringForRegion(region);
  manager->startRangingBeaconsInRegion(region);
  EXPECT_EQ(advance(1000s), "");
  EXPECT_EQ(advance(1001s), "range");
  manager->stopRangingBeaconsInRegion(*region);
  EXPECT_EQ(advance(1030s), "state2");
}

TEST_F(Core, IsAskedOnOneThreadAndFedOnAnother) {
  std::atomic<bool> over = false;
  std::thread asking([&] {
    while (!over) {
      manager->startMonitoringForRegion(region);
      manager->startRangingBeaconsInRegion(region);
      manager->stopMonitoringForRegion(*region);
      manager->stopRangingBeaconsInRegion(*region);
    }
  });
  for (int i = 0; i < 20000; ++i) {
    core.hear(beaconFrame(kNetwork, 1, 1, -60), Instant(i));
    core.setScanning(i % 2 == 0, Instant(i));
  }
  over = true;
  asking.join();
  EXPECT_TRUE(listener->take().starts_with("auth0"));
}

TEST_F(Core, SaysWhatItNeedsAndTellsWhatFails) {
  int operations = 0;
  LocationCore asking({.onOperation = [&operations] { ++operations; }});
  manager = asking.createManager();
  manager->setDelegate(listener);
  const auto fail = [&] {
    asking.failBeacons("beacons");
    asking.failPositions("positions");
    return listener->take();
  };
  EXPECT_EQ(fail(), "auth0");
  EXPECT_TRUE(asking.wanted().beacons.empty());
  EXPECT_TRUE(manager->offersRequestAlwaysAuthorization());
  EXPECT_FALSE(core.createManager()->offersRequestAlwaysAuthorization());
  manager->requestAlwaysAuthorization();
  manager->startMonitoringForRegion(region);
  EXPECT_EQ(fail(), "beacons");
  manager->startRangingBeaconsInRegion(region);
  manager->setDesiredAccuracy(100);
  manager->startUpdatingLocation();
  EXPECT_EQ(operations, 6);
  EXPECT_EQ(fail(), "beacons positions");
  const auto other = asking.createManager();
  other->setDesiredAccuracy(20);
  other->startUpdatingLocation();
  EXPECT_EQ(asking.wanted().beacons, std::set<UUID>{kNetwork});
  EXPECT_EQ(asking.wanted().accuracy, 20);
  EXPECT_TRUE(asking.wanted().authorization);
  manager.reset();
  EXPECT_TRUE(asking.wanted().beacons.empty() && asking.wanted().positions);
}

TEST_F(Core, DeliversPositionsThroughTheDistanceFilter) {
  advance(0s);
  const auto locate = [this](double latitude) {
    core.locate({.coordinate = {latitude, 0}, .horizontalAccuracy = 5}, 1s);
    return listener->take();
  };
  EXPECT_EQ(locate(0), "");
  manager->startUpdatingLocation();
  EXPECT_EQ(locate(0) + locate(0), "atat");  // no filter at first
  manager->setDistanceFilter(20.0);
  EXPECT_EQ(locate(0.0001), "");  // 11 m
  EXPECT_EQ(locate(0.0002), "at");
  EXPECT_EQ(locate(0.0003), "");  // measured from the last that passed
  manager->stopUpdatingLocation();
  EXPECT_EQ(locate(1), "");
  manager->startUpdatingLocation();
  EXPECT_EQ(locate(0.0003), "at");  // a new start begins anew
}

TEST_F(Core, OutlivesWhatDelegatesDo) {
  const std::function<void(const std::string&)> deeds[] = {
      [this](auto&) { manager->stopMonitoringForRegion(*region); },
      [this](auto&) { manager.reset(); },
      [this](auto&) { manager->setDelegate({}); },
      [](auto& call) { throw std::runtime_error(call); },
  };
  const char* const heard[] = {"auth0 enter", "auth0 enter", "auth0 enter", "auth0 enter state1"};
  for (std::size_t i = 0; i < std::size(deeds); ++i) {
    manager = core.createManager();
    manager->setDelegate(listener);
    manager->startMonitoringForRegion(region);
    listener->onEach = [&](auto&, const std::string& call) {
      if (call == "enter") deeds[i](call);
    };
    EXPECT_EQ(hear(Instant(1s) * (i + 1)), heard[i]);
  }
}

}  // namespace
