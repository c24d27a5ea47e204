#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/location/Distance.h"
#include "platform/location/IBeaconFrame.h"
#include "platform/location/LocationCore.h"
#include "tests/support/Frames.h"
#include "tests/support/RecordingDelegate.h"

namespace {

using namespace std::chrono_literals;
using namespace platform;

TEST(Frame, IsAnIBeaconOfTheRightSizeOrNothing) {
  const Advertisement good = beaconFrame(kNetwork, 0x0102, 0xFFFE, -60);
  const auto frame = IBeaconFrame::parse(good).value();
  EXPECT_EQ(frame.proximityUUID, kNetwork);
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

class Core : public testing::Test {
 protected:
  Core() {
    manager->setDelegate(listener);
    listener->prefix = [this] { return word + ":"; };
  }

  /// Plays words one by one and gives what the delegate heard, each behind its word. "2.5" lets that time come, at
  /// "2.5+" the beacon is heard, "2.5+7/-60" is another and its strength, "@0.1" is a position on that latitude; the
  /// others are deeds.
  std::string play(const std::string& script) {
    std::istringstream words(script);
    while (words >> word) {
      if (const auto deed = deeds.find(word); deed != deeds.end()) {
        deed->second();
      } else if (word[0] == '@') {
        core.locate({.coordinate = {std::stod(word.substr(1)), 0}, .horizontalAccuracy = 5}, now);
      } else {
        now = Instant(std::chrono::milliseconds(std::lround(std::stod(word) * 1000)));
        const std::size_t plus = word.find('+');
        const std::size_t slash = word.find('/');
        if (slash != std::string::npos) {
          const auto minor = static_cast<std::uint16_t>(std::stoi(word.substr(plus + 1)));
          core.hear(beaconFrame(kNetwork, 1, minor, std::stoi(word.substr(slash + 1))), now);
        } else if (plus != std::string::npos) {
          core.hear(beaconFrame(kNetwork, 1, 1, -60), now);
        }
        core.advance(now);
      }
    }
    return listener->take();
  }

  int operations = 0;
  Permission permission;
  LocationCore core{{.permission = [this] { return permission; },
                     .offersRequestAlwaysAuthorization = true,
                     .onOperation = [this] { ++operations; }}};
  std::shared_ptr<CLLocationManager> manager = core.createManager();
  std::shared_ptr<RecordingDelegate> listener = std::make_shared<RecordingDelegate>();
  std::shared_ptr<CLBeaconRegion> region = CLBeaconRegion::initWithProximityUUID_identifier(kNetwork, "r");
  std::string word;
  Instant now{};
  const std::map<std::string, std::function<void()>> deeds = {
      {"authorize", [this] { manager->requestAlwaysAuthorization(); }},
      {"monitor", [this] { manager->startMonitoringForRegion(region); }},
      {"unmonitor", [this] { manager->stopMonitoringForRegion(*region); }},
      {"range", [this] { manager->startRangingBeaconsInRegion(region); }},
      {"unrange", [this] { manager->stopRangingBeaconsInRegion(*region); }},
      {"ask", [this] { manager->requestStateForRegion(region); }},
      {"update", [this] { manager->startUpdatingLocation(); }},
      {"pause", [this] { manager->stopUpdatingLocation(); }},
      {"coarse", [this] { manager->setDesiredAccuracy(100); }},
      {"filter20", [this] { manager->setDistanceFilter(20); }},
      {"drop", [this] { manager.reset(); }},
      {"silence", [this] { manager->setDelegate({}); }},
      {"throw", [this] { throw std::runtime_error(word); }},
      {"stranger", [this] { core.hear(beaconFrame(UUID(), 9, 9, -40), now); }},
      {"deaf", [this] { core.setScanning(false, now); }},
      {"scan", [this] { core.setScanning(true, now); }},
      {"grant",
       [this] {
         permission = {.status = kCLAuthorizationStatusAuthorizedAlways, .servicesEnabled = false};
         core.tellPermission();
       }},
      {"failBeacons", [this] { core.failBeacons("beacons"); }},
      {"failPositions", [this] { core.failPositions("positions"); }},
  };
};

TEST_F(Core, ReportsWhatWasAskedForAndNothingElse) {
  EXPECT_EQ(play("0 1+ ask 1"), "0:auth0 1:state0");  // never from inside a call to the manager
  EXPECT_EQ(play("monitor ask range"), "");
  EXPECT_EQ(core.nextDeadline(), std::nullopt);  // nobody has said yet when that was
  EXPECT_EQ(play("1"), "1:state0");
  EXPECT_EQ(core.nextDeadline(), Instant(2s));
  EXPECT_EQ(play("1.5+ ask 2.5+ stranger 4 unrange 32 33 stranger 34"),
            "1.5+:enter 1.5+:state1 2.5+:state1 2.5+:range-60 4:range-60 4:range0 33:exit 33:state2");
  EXPECT_EQ(core.nextDeadline(), std::nullopt);
  region->setNotifyOnEntry(false);
  // A region replaces the one under the same identifier.
  EXPECT_EQ(play("40+ 41 deaf 500 monitor 501 scan 531 grant"), "40+:state1 531:state2 grant:auth3");
  EXPECT_EQ(core.authorizationStatus(), 3);
  EXPECT_FALSE(core.locationServicesEnabled());
}

TEST_F(Core, LeavesARegionAfterAWholeExitPeriodOfSilence) {
  // What was unknown is not left. The period stands still while nothing listens, also after a late frame.
  EXPECT_EQ(play("monitor 0 29 30 99 100+ 120+ 140 deaf 145 deaf 500 600 scan 609 610 611 deaf 612+ 700 scan 729 730"),
            "0:auth0 30:state2 100+:enter 100+:state1 610:exit 610:state2 612+:enter 612+:state1 730:exit 730:state2");
}

TEST_F(Core, RangesMeansNearestFirstAndSilentOnesLast) {
  // A second start changes nothing of the rhythm.
  EXPECT_EQ(
      play("0 range 0 0.1+1/-80 0.2+1/-71 0.3+2/-60 0.4+3/127 0.5+4/-50 range 1 1.5+1/-90 2 5 6 7"),
      "0:auth0 1:range-50,-60,-76,0 2:range-90,0,0,0 5:range0,0,0,0 5:range0,0,0,0 5:range0,0,0,0 6:range0 7:range");
}

TEST_F(Core, BeginsAtTheTimeThatIsFedNext) {
  EXPECT_EQ(play("1 monitor range 1000 1001 unrange 1030"), "1:auth0 1001:range 1030:state2");
}

TEST_F(Core, DeliversPositionsThroughTheDistanceFilter) {
  // 11 m each; measured from the last that passed; a new start begins anew.
  EXPECT_EQ(play("0 @1 update @0 @0.0 filter20 @0.0001 @0.0002 @0.0003 pause @2 update @0.00030"),
            "0:auth0 @0:at @0.0:at @0.0002:at @0.00030:at");
}

TEST_F(Core, SaysWhatItNeedsAndTellsWhatFails) {
  EXPECT_EQ(play("0 failBeacons failPositions"), "0:auth0");
  EXPECT_TRUE(core.wanted().beacons.empty());
  EXPECT_TRUE(manager->offersRequestAlwaysAuthorization());
  EXPECT_FALSE(LocationCore({}).createManager()->offersRequestAlwaysAuthorization());
  EXPECT_EQ(play("authorize monitor failBeacons range coarse update failBeacons failPositions"),
            "failBeacons:beacons failBeacons:beacons failPositions:positions");
  EXPECT_EQ(operations, 6);  // one is that of the fixture
  const auto other = core.createManager();
  other->setDesiredAccuracy(20);
  other->startUpdatingLocation();
  EXPECT_EQ(core.wanted().beacons, std::set<UUID>{kNetwork});
  EXPECT_EQ(core.wanted().accuracy, 20);
  EXPECT_TRUE(core.wanted().authorization);
  manager.reset();
  EXPECT_TRUE(core.wanted().beacons.empty() && core.wanted().positions);
}

TEST_F(Core, OutlivesWhatDelegatesDo) {
  for (const std::string deed : {"unmonitor", "drop", "silence", "throw"}) {
    manager = core.createManager();
    manager->setDelegate(listener);
    listener->onEach = [&](auto&, const std::string& call) {
      if (call == "enter") deeds.at(deed)();
    };
    EXPECT_EQ(play("monitor 1+"), std::string("1+:auth0 1+:enter") + (deed == "throw" ? " 1+:state1" : "")) << deed;
  }
}

TEST_F(Core, IsAskedOnOneThreadAndFedOnAnother) {
  std::jthread asking([this](const std::stop_token& end) {
    while (!end.stop_requested()) {
      for (const char* deed : {"monitor", "range", "unmonitor", "unrange"}) deeds.at(deed)();
    }
  });
  for (int i = 0; i < 20000; ++i) {
    core.hear(beaconFrame(kNetwork, 1, 1, -60), Instant(Duration(i)));
    core.setScanning(i % 2 == 0, Instant(Duration(i)));
  }
  EXPECT_TRUE(listener->take().starts_with(":auth0"));
}

}  // namespace
