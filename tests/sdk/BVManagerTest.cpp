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
  EXPECT_THROW(manager->setLocationManager(nullptr), std::invalid_argument);
}

TEST(WithoutServices, NoManagerIsCreated) {
  EXPECT_THROW(BVManager::initWithDelegate(nullptr), std::logic_error);
  EXPECT_THROW(platform::install({}), std::logic_error);
  FakeServices::get();
  EXPECT_THROW(platform::install(platform::services()), std::logic_error);
}

}  // namespace
