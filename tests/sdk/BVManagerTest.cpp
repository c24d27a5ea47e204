#include <gtest/gtest.h>

#include "tests/sdk/FakeServices.h"

namespace {

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
    services.take();
    services.requests.clear();
  }

  CLBeacon beacon(std::int32_t major, std::int32_t minor) const {
    return {.proximityUUID = platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value(),
            .major = major,
            .minor = minor,
            .rssi = -60};
  }

  /// What a ranging report leads to.
  std::string range(BVManager& manager, const std::vector<CLBeacon>& beacons) {
    services.take();
    manager.locationManager_didRangeBeacons_inRegion(services, beacons, *manager.getRegion());
    return services.take();
  }

  FakeServices& services = FakeServices::get();
  std::shared_ptr<FakeHost> host = std::make_shared<FakeHost>();
};

TEST_F(Manager, RefusesAHostThatIsNotConfigured) {
  using Plist = std::map<std::string, std::string, std::less<>>;
  const std::string credentials =
      "BVAPICredentialsNotFound: Not found Brivane SDK/API Credentials in Main bundle (check Info.plist)";
  const std::string usage = "BVCoreLocationAuthError: Not NSLocationAlwaysUsageDescription found (check Info.plist)";
  const std::pair<Plist, std::string> rows[] = {
      {{}, credentials},
      {{{"BrivaneAPIKey", "k"}}, credentials},
      {{{"BrivaneAPIKey", ""}, {"BrivaneAPISecret", "s"}}, credentials},
      {{{"BrivaneAPIKey", "k"}, {"BrivaneAPISecret", "s"}, {"NSLocationAlwaysUsageDescription", ""}}, usage},
  };
  for (const auto& [plist, expected] : rows) {
    services.plist = plist;
    try {
      BVManager::initWithDelegate(host);
      ADD_FAILURE() << "created";
    } catch (const BVException& fault) {
      EXPECT_EQ(fault.name() + ": " + fault.reason(), expected);
    }
  }
  EXPECT_EQ(services.take(), "Init with delegate!");  // of the last row
  EXPECT_TRUE(services.requests.empty());
  services.plist = {{"NSLocationAlwaysUsageDescription", "x"}};
  BVManager::initWithDelegate_andAPIKey_andAPISecret(nullptr, "", "");
  EXPECT_EQ(services.requests.size(), 1U);  // credentials of the host's own are not judged
}

TEST_F(Manager, BecomesReadyWithTheSyncReply) {
  const auto manager = BVManager::initWithDelegate(host);
  EXPECT_EQ(services.take(),
            "Init with delegate!|API Key: key - API Secret: secret|>create|>delegate|Requesting always auth|>ask");
  services.reply(R"({"access_token":"t","expires_in":-1795253400000})");
  const std::string log = services.take();
  EXPECT_NE(log.find("Access token: t|Received login callback!!!|-> Token: t|-> Scope: (null)|-> Expires in: "
                     "-1795253400000|-> Expires date: "),
            std::string::npos)
      << log;
  EXPECT_TRUE(log.ends_with(" +0000|-> Type: (null)")) << log;
  manager->locationManager_didChangeAuthorizationStatus(services, 3);  // too early
  EXPECT_EQ(services.take(), "AUTHORIZATION!");
  services.reply(R"({"offline":1,"pubkey":"k"})");
  EXPECT_EQ(services.take(), R"(DATA: {"offline":1,"pubkey":"k"}|Sync done|Received sync callback!!!|-> Status: 0|)"
                             "-> Offline: 1|-> Internal: 0|-> Public key: k");
  EXPECT_EQ(host->ready, 1);
  manager->locationManager_didChangeAuthorizationStatus(services, 3);
  EXPECT_EQ(host->ready, 1);
  // A second manager takes over and is told again.
  services.offersAlways = false;
  services.take();
  const auto second = BVManager::initWithDelegate(host);
  EXPECT_EQ(services.take(), "Init with delegate!|API Key: key - API Secret: secret|>create|>delegate");
  EXPECT_EQ(second->getRegion(), manager->getRegion());
  services.replyToLoginAndSync();
  EXPECT_EQ(host->ready, 2);
}

TEST_F(Manager, LogsDatesInUniversalTime) {
  const auto manager = synced();
  for (const auto& [second, text] : {std::pair{1795253400, "2026-11-21 09:30:00"}, {-1, "1969-12-31 23:59:59"}}) {
    BVAPILogin login;
    login.setExpires_date(std::chrono::system_clock::time_point(std::chrono::seconds(second)));
    manager->receivedLogin(std::make_shared<const BVAPILogin>(login));
    EXPECT_NE(services.take().find(std::string("|-> Expires date: ") + text + " +0000|"), std::string::npos) << text;
  }
}

TEST_F(Manager, BecomesReadyWithTheAuthorisation) {
  services.authorization = 4;
  const auto manager = synced();
  EXPECT_FALSE(manager->startDetection());
  EXPECT_EQ(services.take(), "Start detection|BV location not authorized");
  struct Row {
    bool enabled;
    std::int32_t status;
    bool delegate;
    const char* log;
    int ready;
  };
  const Row rows[] = {
      {false, 3, true, "|Couldn't turn on ranging: Location services are not enabled.", 0},
      {true, 4, true, "|Couldn't turn on monitoring: Location services not authorised.", 0},
      {true, 3, false, "", 0},
      {true, 3, true, "|Auth ok", 1},
      {true, 3, true, "", 1},
  };
  for (const Row& row : rows) {
    services.enabled = row.enabled;
    services.authorization = row.status;
    manager->setDelegate(row.delegate ? host : nullptr);
    manager->locationManager_didChangeAuthorizationStatus(services, 0);
    EXPECT_EQ(services.take(), std::string("AUTHORIZATION!") + row.log);
    EXPECT_EQ(host->ready, row.ready);
  }
}

TEST_F(Manager, StartsAndStopsDetection) {
  const auto manager = BVManager::initWithDelegate(nullptr);
  forget();
  EXPECT_FALSE(manager->startDetection());
  EXPECT_FALSE(manager->getNearestAtLat_andLng_insideRadius(1, 2, 3));
  EXPECT_FALSE(manager->setPayload_forWaybeacon({}, nullptr));
  const std::string notReady = "|BV API not ready or initialized properly";
  EXPECT_EQ(services.take(), "Start detection" + notReady + notReady + notReady);
  services.replyToLoginAndSync();  // no delegate: not ready, and yet detection can start
  forget();
  EXPECT_TRUE(manager->setPayload_forWaybeacon({}, nullptr));
  EXPECT_TRUE(services.requests.empty());
  EXPECT_TRUE(manager->stopDetection());
  EXPECT_EQ(services.take(), "Stop detection|>stop monitoring BrivaneNetwork");

  const std::string started =
      "Start detection|Region: 5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385|>monitor BrivaneNetwork|"
      ">state of BrivaneNetwork";
  EXPECT_TRUE(manager->startDetection());
  EXPECT_TRUE(manager->isScanning());
  EXPECT_EQ(services.take(), started);
  manager->setDelegate(host);
  manager->setEnabledGPS(true);
  services.enabled = false;
  EXPECT_TRUE(manager->startDetection());
  EXPECT_EQ(services.take(), started);
  ASSERT_EQ(host->errors.size(), 1U);
  EXPECT_EQ(host->errors.front()->errorCode(), 1);
  services.enabled = true;
  EXPECT_TRUE(manager->startDetection());
  EXPECT_EQ(services.take(), started + "|>accuracy 10.000000|>filter 20.000000|>update");
  manager->locationManager_didDetermineState_forRegion(services, 1, *manager->getRegion());
  services.take();
  EXPECT_TRUE(manager->stopDetection());
  EXPECT_EQ(services.take(),
            "Stop detection|>stop monitoring BrivaneNetwork|>stop ranging BrivaneNetwork|"
            ">stop updating");
  EXPECT_FALSE(manager->isScanning());
}

TEST_F(Manager, FollowsTheRegionState) {
  const auto manager = synced();
  const auto region = manager->getRegion();
  struct Row {
    std::int64_t state;
    const char* seen;
    const char* stop;  // what stopDetection then finds to stop
  };
  const Row rows[] = {
      {1, "|INSIDE|>range BrivaneNetwork", "|>stop ranging BrivaneNetwork"},
      {2, "|>stop ranging BrivaneNetwork|OUTSIDE", ""},
      {0, "|UNKNOWN", ""},
      {7, "", ""},
  };
  for (const Row& row : rows) {
    manager->locationManager_didDetermineState_forRegion(services, row.state, *region);  // also while stopped
    EXPECT_EQ(services.take(), std::string("DETERMINATE STATE!") + row.seen);
    EXPECT_FALSE(manager->isScanning());
    manager->stopDetection();
    EXPECT_EQ(services.take(), std::string("Stop detection|>stop monitoring BrivaneNetwork") + row.stop);
  }
  manager->locationManager_didEnterRegion(services, *region);
  manager->locationManager_didExitRegion(services, *region);
  manager->locationManager_didFailWithError(services, "a");
  manager->locationManager_monitoringDidFailForRegion_withError(services, *region, "b");
  manager->locationManager_rangingBeaconsDidFailForRegion_withError(services, *region, "c");
  EXPECT_EQ(services.take(),
            "REGION IN!|REGION OUT!|Failed monitoring region: a|Location manager failed: b|"
            "Ranging beacons failed: c");
}

TEST_F(Manager, AsksOnceAndThenAnswersFromTheCache) {
  const auto manager = BVManager::initWithDelegate(host);
  const std::string heard = "Ranging beacons ok|-> Major: 1 - Minor: 2";
  EXPECT_EQ(range(*manager, {}), "Ranging beacons ok");
  EXPECT_EQ(range(*manager, {beacon(1, 2)}), heard);  // before the sync: nothing more
  services.replyToLoginAndSync();
  forget();
  EXPECT_EQ(range(*manager, {beacon(1, 2), beacon(65535, 65535)}),
            heard + "|Cache miss, goes to API|Resolving...|-> Major: 65535 - Minor: 65535");
  ASSERT_EQ(services.requests.size(), 1U);
  EXPECT_EQ(FakeServices::fields(services.requests.front())["rssi"], "-60");
  services.reply(kKnown);
  EXPECT_EQ(range(*manager, {beacon(1, 2)}), heard + "|Cache hit|Received resolve!!!");
  ASSERT_EQ(host->matches.size(), 2U);
  EXPECT_EQ(host->matches[0], host->matches[1]);  // the same object, the service's rssi in it
  EXPECT_EQ(host->matches[1]->rssi(), -50);

  // A later reply for the key replaces the record; one without a delegate is cached all the same.
  manager->setDelegate(nullptr);
  const auto request = BVAPIResolveRequest::initWithUUID_withMajor_withMinor(BVNetwork::proximityUUID(), 1, 2);
  const auto replacement = BVAPIResolve::parse("{}");
  manager->receivedResolve_forRequest(replacement, request);
  manager->setDelegate(host);
  manager->receivedResolve_forRequest(nullptr, request);  // handed on, not cached
  EXPECT_EQ(host->matches.back(), nullptr);
  range(*manager, {beacon(1, 2)});
  EXPECT_EQ(host->matches.back(), replacement);
}

TEST_F(Manager, AsksFiveTimesForABeaconBetweenTwoStarts) {
  const auto manager = synced();
  for (const auto& [unknown, expected] : {std::pair{beacon(1, 2), 5U}, {beacon(65535, 2), 0U}}) {
    for (int round = 0; round < 2; ++round) {
      manager->startDetection();
      forget();
      for (int report = 0; report < 6; ++report) {
        const std::string seen = range(*manager, {unknown});
        EXPECT_EQ(seen.ends_with("Max num tries achivied"), report == 5);
        // Every other request stays without an answer.
        if (seen.ends_with("Resolving...") && report % 2 == 0) services.reply(R"({"status":false})");
      }
      EXPECT_EQ(services.requests.size(), expected);
    }
  }
  EXPECT_TRUE(host->matches.empty());
}

TEST_F(Manager, SendsPositionsWhileTheyAreTracked) {
  const auto manager = BVManager::initWithDelegate(nullptr);
  const auto update = [&](const std::vector<platform::CLLocation>& locations) {
    services.take();
    manager->locationManager_didUpdateLocations(services, locations);
    return services.take();
  };
  const platform::CLLocation old{.coordinate = {1, 2}, .horizontalAccuracy = 3};
  const platform::CLLocation newest{.coordinate = {4, 5}, .horizontalAccuracy = -1};
  services.replyToLoginAndSync();
  EXPECT_EQ(update({}), "Location is null");
  manager->startDetection();
  manager->setEnabledGPS(true);  // counts from the next start
  EXPECT_EQ(update({old}), "Location update while not running");
  manager->startDetection();
  EXPECT_EQ(update({old}), "API not ready");
  manager->setDelegate(host);
  manager->locationManager_didChangeAuthorizationStatus(services, 3);
  services.requests.clear();
  EXPECT_EQ(update({old, newest}), "URL: https://api.brivane.example/api/v1/tracker/");
  const auto fields = FakeServices::fields(services.requests.front());
  EXPECT_EQ(fields.at("lat") + " " + fields.at("lng") + " " + fields.at("radius"), "4.000000 5.000000 -1");
  services.reply(kKnown);
  EXPECT_EQ(host->matches.size(), 1U);
  services.requests.clear();
  range(*manager, {beacon(0, 0)});
  EXPECT_EQ(services.requests.size(), 1U);  // the reply to the position was not cached
  manager->stopDetection();
  EXPECT_EQ(update({old}), "Location update while not running");
}

TEST_F(Manager, HandsNearestPlacesOn) {
  const auto manager = synced();
  for (const auto& [body, count] : {std::pair{R"({"beacons":[{},{},{}]})", 3U}, {"{}", 0U}}) {
    EXPECT_TRUE(manager->getNearestAtLat_andLng_insideRadius(1, 2, 3));
    services.reply(body);
    EXPECT_TRUE(services.take().ends_with("Received nearest: " + std::to_string(count)));
    const auto& places = host->nearest.back();
    EXPECT_EQ(places ? places->size() : 0U, count);
    EXPECT_EQ(places == nullptr, count == 0);
  }
  EXPECT_THROW(manager->setLocationManager(nullptr), std::invalid_argument);
}

TEST(WithoutServices, NoManagerIsCreated) {
  EXPECT_THROW(BVManager::initWithDelegate(nullptr), std::logic_error);
  EXPECT_THROW(platform::install({}), std::logic_error);
  FakeServices::get();
  EXPECT_THROW(platform::install(platform::services()), std::logic_error);
}

}  // namespace
