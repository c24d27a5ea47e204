#include <gtest/gtest.h>

#include "tests/sdk/FakeServices.h"

namespace {

using Lines = std::vector<std::string>;
using platform::CLBeacon;

const char* const kKnown = R"({"status":true,"beacon":{"match":"m","rssi":-50}})";

class Manager : public testing::Test {
 protected:
  /// A manager that is logged in and synced, with what led there forgotten.
  std::shared_ptr<BVManager> synced() {
    auto manager = BVManager::initWithDelegate(host);
    services.replyToLoginAndSync();
    forget();
    return manager;
  }

  void forget() {
    services.takeLog();
    services.takeOperations();
    services.requests.clear();
  }

  CLBeacon beacon(std::int32_t major, std::int32_t minor) const {
    return {.proximityUUID = platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value(),
            .major = major,
            .minor = minor,
            .rssi = -60};
  }

  void range(BVManager& manager, const std::vector<CLBeacon>& beacons) {
    manager.locationManager_didRangeBeacons_inRegion(services, beacons, *manager.getRegion());
  }

  void determine(BVManager& manager, std::int64_t state) {
    manager.locationManager_didDetermineState_forRegion(services, state, *manager.getRegion());
  }

  FakeServices& services = FakeServices::get();
  std::shared_ptr<FakeHost> host = std::make_shared<FakeHost>();
};

TEST_F(Manager, RefusesAHostThatIsNotConfigured) {
  struct Row {
    std::map<std::string, std::string, std::less<>> plist;
    const char* name;
    const char* reason;
  };
  const char* credentials = "Not found Brivane SDK/API Credentials in Main bundle (check Info.plist)";
  const Row rows[] = {
      {{}, "BVAPICredentialsNotFound", credentials},
      {{{"BrivaneAPIKey", "k"}}, "BVAPICredentialsNotFound", credentials},
      {{{"BrivaneAPIKey", ""}, {"BrivaneAPISecret", "s"}}, "BVAPICredentialsNotFound", credentials},
      {{{"BrivaneAPIKey", "k"}, {"BrivaneAPISecret", "s"}, {"NSLocationAlwaysUsageDescription", ""}},
       "BVCoreLocationAuthError",
       "Not NSLocationAlwaysUsageDescription found (check Info.plist)"},
  };
  for (const Row& row : rows) {
    services.plist = row.plist;
    try {
      BVManager::initWithDelegate(host);
      ADD_FAILURE() << "created";
    } catch (const BVException& fault) {
      EXPECT_EQ(fault.name(), row.name);
      EXPECT_STREQ(fault.reason(), row.reason);
    }
  }
  EXPECT_TRUE(services.requests.empty());
  EXPECT_EQ(services.takeOperations(), Lines{});
  services.plist = {{"NSLocationAlwaysUsageDescription", "x"}};
  BVManager::initWithDelegate_andAPIKey_andAPISecret(nullptr, "", "");
  EXPECT_EQ(services.requests.size(), 1U);  // credentials of the host's own are not judged
}

TEST_F(Manager, BecomesReadyWithTheSyncReply) {
  const auto manager = BVManager::initWithDelegate(host);
  EXPECT_EQ(services.takeOperations(), (Lines{"create", "delegate", "ask"}));
  EXPECT_EQ(services.takeLog(),
            (Lines{"Init with delegate!", "API Key: key - API Secret: secret", "Requesting always auth"}));
  services.reply(R"({"access_token":"t","expires_in":-1795253400000})");
  Lines log = services.takeLog();
  log.erase(log.begin());      // the body
  log.erase(log.begin() + 5);  // the date, which runs with the clock
  EXPECT_EQ(log, (Lines{"Access token: t", "Received login callback!!!", "-> Token: t", "-> Scope: (null)",
                        "-> Expires in: -1795253400000", "-> Type: (null)"}));
  manager->locationManager_didChangeAuthorizationStatus(services, 3);  // too early
  EXPECT_EQ(services.takeLog(), Lines{"AUTHORIZATION!"});
  services.reply(R"({"offline":1,"pubkey":"k"})");
  EXPECT_EQ(services.takeLog(), (Lines{R"(DATA: {"offline":1,"pubkey":"k"})", "Sync done", "Received sync callback!!!",
                                       "-> Status: 0", "-> Offline: 1", "-> Internal: 0", "-> Public key: k"}));
  EXPECT_EQ(host->ready, 1);
  manager->locationManager_didChangeAuthorizationStatus(services, 3);
  EXPECT_EQ(host->ready, 1);
  // A second manager takes over and is told again.
  services.offersAlways = false;
  services.takeOperations();
  const auto second = BVManager::initWithDelegate(host);
  EXPECT_EQ(services.takeOperations(), (Lines{"create", "delegate"}));
  EXPECT_EQ(second->getRegion(), manager->getRegion());
  services.replyToLoginAndSync();
  EXPECT_EQ(host->ready, 2);
}

TEST_F(Manager, BecomesReadyWithTheAuthorisation) {
  services.authorization = 4;
  const auto manager = synced();
  EXPECT_FALSE(manager->startDetection());
  EXPECT_EQ(services.takeLog(), (Lines{"Start detection", "BV location not authorized"}));
  struct Row {
    bool enabled;
    std::int32_t status;
    bool delegate;
    Lines log;
    int ready;
  };
  const Row rows[] = {
      {false, 3, true, {"Couldn't turn on ranging: Location services are not enabled."}, 0},
      {true, 4, true, {"Couldn't turn on monitoring: Location services not authorised."}, 0},
      {true, 3, false, {}, 0},
      {true, 3, true, {"Auth ok"}, 1},
      {true, 3, true, {}, 1},
  };
  for (const Row& row : rows) {
    services.enabled = row.enabled;
    services.authorization = row.status;
    manager->setDelegate(row.delegate ? host : nullptr);
    manager->locationManager_didChangeAuthorizationStatus(services, 0);
    Lines expected = {"AUTHORIZATION!"};
    expected.insert(expected.end(), row.log.begin(), row.log.end());
    EXPECT_EQ(services.takeLog(), expected);
    EXPECT_EQ(host->ready, row.ready);
  }
}

TEST_F(Manager, StartsAndStopsDetection) {
  const auto manager = BVManager::initWithDelegate(nullptr);
  forget();
  EXPECT_FALSE(manager->startDetection());
  EXPECT_FALSE(manager->getNearestAtLat_andLng_insideRadius(1, 2, 3));
  EXPECT_FALSE(manager->setPayload_forWaybeacon({}, nullptr));
  const char* notReady = "BV API not ready or initialized properly";
  EXPECT_EQ(services.takeLog(), (Lines{"Start detection", notReady, notReady, notReady}));
  services.replyToLoginAndSync();  // no delegate: not ready, and yet detection can start
  services.requests.clear();
  EXPECT_TRUE(manager->setPayload_forWaybeacon({}, nullptr));
  EXPECT_TRUE(services.requests.empty());

  EXPECT_TRUE(manager->stopDetection());
  EXPECT_EQ(services.takeOperations(), Lines{"stop monitoring BrivaneNetwork"});
  services.takeLog();
  EXPECT_TRUE(manager->startDetection());
  EXPECT_TRUE(manager->isScanning());
  EXPECT_EQ(services.takeLog(), (Lines{"Start detection", "Region: 5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385"}));
  const Lines started = {"monitor BrivaneNetwork", "state of BrivaneNetwork"};
  EXPECT_EQ(services.takeOperations(), started);

  manager->setDelegate(host);
  manager->setEnabledGPS(true);
  services.enabled = false;
  EXPECT_TRUE(manager->startDetection());
  EXPECT_EQ(services.takeOperations(), started);
  ASSERT_EQ(host->errors.size(), 1U);
  EXPECT_EQ(host->errors.front()->errorCode(), 1);

  services.enabled = true;
  EXPECT_TRUE(manager->startDetection());
  EXPECT_EQ(services.takeOperations(),
            (Lines{started[0], started[1], "accuracy 10.000000", "filter 20.000000", "update"}));
  determine(*manager, 1);
  EXPECT_TRUE(manager->stopDetection());
  EXPECT_EQ(services.takeOperations(), (Lines{"range BrivaneNetwork", "stop monitoring BrivaneNetwork",
                                              "stop ranging BrivaneNetwork", "stop updating"}));
  EXPECT_FALSE(manager->isScanning());
}

TEST_F(Manager, FollowsTheRegionState) {
  const auto manager = synced();
  struct Row {
    std::int64_t state;
    Lines log;
    Lines operations;
    bool ranging;  // as stopDetection finds it
  };
  const Lines none;
  const Row rows[] = {
      {1, {"INSIDE"}, {"range BrivaneNetwork"}, true},
      {2, {"OUTSIDE"}, {"stop ranging BrivaneNetwork"}, false},
      {0, {"UNKNOWN"}, none, false},
      {7, none, none, false},
  };
  for (const Row& row : rows) {
    manager->stopDetection();
    forget();
    determine(*manager, row.state);  // heeded also while stopped
    Lines log = {"DETERMINATE STATE!"};
    log.insert(log.end(), row.log.begin(), row.log.end());
    EXPECT_EQ(services.takeLog(), log);
    EXPECT_EQ(services.takeOperations(), row.operations);
    EXPECT_FALSE(manager->isScanning());
    manager->stopDetection();
    EXPECT_EQ(services.takeOperations().size(), row.ranging ? 2U : 1U);
  }
  services.takeLog();
  const auto region = manager->getRegion();
  manager->locationManager_didEnterRegion(services, *region);
  manager->locationManager_didExitRegion(services, *region);
  manager->locationManager_didFailWithError(services, "a");
  manager->locationManager_monitoringDidFailForRegion_withError(services, *region, "b");
  manager->locationManager_rangingBeaconsDidFailForRegion_withError(services, *region, "c");
  EXPECT_EQ(services.takeLog(), (Lines{"REGION IN!", "REGION OUT!", "Failed monitoring region: a",
                                       "Location manager failed: b", "Ranging beacons failed: c"}));
}

TEST_F(Manager, AsksOnceAndThenAnswersFromTheCache) {
  const auto early = BVManager::initWithDelegate(host);
  services.takeLog();
  range(*early, {beacon(1, 2)});  // before the sync: logged, nothing more
  EXPECT_EQ(services.takeLog(), (Lines{"Ranging beacons ok", "-> Major: 1 - Minor: 2"}));
  services.replyToLoginAndSync();
  forget();

  range(*early, {beacon(65535, 65535), beacon(1, 2)});
  EXPECT_EQ(services.takeLog(), (Lines{"Ranging beacons ok", "-> Major: 65535 - Minor: 65535", "-> Major: 1 - Minor: 2",
                                       "Cache miss, goes to API", "Resolving..."}));
  ASSERT_EQ(services.requests.size(), 1U);
  EXPECT_EQ(FakeServices::fields(services.requests.front())["rssi"], "-60");
  services.reply(kKnown);
  services.takeLog();
  range(*early, {beacon(1, 2)});
  EXPECT_EQ(services.takeLog(),
            (Lines{"Ranging beacons ok", "-> Major: 1 - Minor: 2", "Cache hit", "Received resolve!!!"}));
  ASSERT_EQ(host->matches.size(), 2U);
  EXPECT_EQ(host->matches[0], host->matches[1]);  // the same object, the service's rssi in it
  EXPECT_EQ(host->matches[1]->rssi(), -50);

  // A later reply for the key replaces the record; one without a delegate is cached all the same.
  early->setDelegate(nullptr);
  const auto request = BVAPIResolveRequest::initWithUUID_withMajor_withMinor(BVNetwork::proximityUUID(), 1, 2);
  const auto replacement = BVAPIResolve::parse("{}");
  early->receivedResolve_forRequest(replacement, request);
  early->setDelegate(host);
  early->receivedResolve_forRequest(nullptr, request);  // handed on, not cached
  EXPECT_EQ(host->matches.back(), nullptr);
  range(*early, {beacon(1, 2)});
  EXPECT_EQ(host->matches.back(), replacement);
}

TEST_F(Manager, AsksFiveTimesForABeaconBetweenTwoStarts) {
  const auto manager = synced();
  ASSERT_TRUE(manager->startDetection());
  for (const auto& [unknown, expected] : {std::pair{beacon(1, 2), 5U}, {beacon(65535, 2), 0U}}) {
    for (int round = 0; round < 2; ++round) {
      forget();
      for (int report = 0; report < 7; ++report) {
        const std::size_t before = services.requests.size();
        range(*manager, {unknown});
        if (services.requests.size() > before && report % 2 == 0) {
          services.reply(R"({"status":false})");  // the others stay without an answer
        }
      }
      EXPECT_EQ(services.requests.size(), expected);
      EXPECT_EQ(services.takeLog().back(), "Max num tries achivied");
      manager->startDetection();
    }
  }
  EXPECT_TRUE(host->matches.empty());
}

TEST_F(Manager, SendsPositionsWhileTheyAreTracked) {
  const auto manager = synced();
  const auto update = [&](std::vector<platform::CLLocation> locations) {
    manager->locationManager_didUpdateLocations(services, locations);
    return services.takeLog().front();
  };
  const platform::CLLocation old{.coordinate = {1, 2}, .horizontalAccuracy = 3};
  const platform::CLLocation newest{.coordinate = {4, 5}, .horizontalAccuracy = -1};
  EXPECT_EQ(update({}), "Location is null");
  EXPECT_EQ(update({old}), "Location update while not running");
  manager->startDetection();
  manager->setEnabledGPS(true);  // counts from the next start
  services.takeLog();
  EXPECT_EQ(update({old}), "Location update while not running");
  manager->startDetection();
  forget();
  EXPECT_EQ(update({old, newest}), "URL: https://api.brivane.example/api/v1/tracker/");
  const auto fields = FakeServices::fields(services.requests.front());
  EXPECT_EQ(fields.at("lat"), "4.000000");
  EXPECT_EQ(fields.at("radius"), "-1");
  services.reply(kKnown);
  EXPECT_EQ(host->matches.size(), 1U);
  services.requests.clear();
  range(*manager, {beacon(0, 0)});
  EXPECT_EQ(services.requests.size(), 1U);  // the reply to the position was not cached
}

TEST_F(Manager, HoldsPositionsBackUntilItIsReady) {
  const auto manager = BVManager::initWithDelegate(nullptr);
  services.replyToLoginAndSync();
  manager->setEnabledGPS(true);
  manager->startDetection();
  forget();
  manager->locationManager_didUpdateLocations(services, {platform::CLLocation{}});
  EXPECT_EQ(services.takeLog(), Lines{"API not ready"});
  EXPECT_TRUE(services.requests.empty());
}

TEST_F(Manager, HandsNearestPlacesOn) {
  const auto manager = synced();
  EXPECT_TRUE(manager->getNearestAtLat_andLng_insideRadius(1, 2, 3));
  services.reply(R"({"beacons":[{},{},{}]})");
  EXPECT_EQ(services.takeLog().back(), "Received nearest: 3");
  ASSERT_NE(host->nearest.at(0), nullptr);
  EXPECT_EQ(host->nearest.at(0)->size(), 3U);
  manager->getNearestAtLat_andLng_insideRadius(1, 2, 3);
  services.reply("{}");
  EXPECT_EQ(services.takeLog().back(), "Received nearest: 0");
  EXPECT_EQ(host->nearest.at(1), nullptr);
  const std::weak_ptr<BVManager> gone = manager;
  EXPECT_THROW(manager->setLocationManager(nullptr), std::invalid_argument);
}

TEST(WithoutServices, NoManagerIsCreated) {
  EXPECT_THROW(BVManager::initWithDelegate(nullptr), std::logic_error);
  EXPECT_THROW(platform::install({}), std::logic_error);
  FakeServices::get();
  EXPECT_THROW(platform::install(platform::services()), std::logic_error);
}

}  // namespace
