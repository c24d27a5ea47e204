#include <gtest/gtest.h>

#include "tests/sdk/FakeServices.h"

namespace {

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

TEST_F(Manager, TellsTheHostTheCachedRecordWhicheverCameLast) {
  const auto manager = synced();
  const auto request = BVAPIResolveRequest::initWithUUID_withMajor_withMinor(BVNetwork::proximityUUID(), 1, 2);
  manager->setDelegate(nullptr);
  for (const char* body : {"{}", R"({"rssi":-50})"}) {
    manager->receivedResolve_forRequest(BVAPIResolve::parse(body), request);
  }
  manager->setDelegate(host);
  manager->receivedResolve_forRequest(nullptr, request);  // handed on, not cached
  EXPECT_EQ(host->matches.back(), nullptr);
  const platform::CLBeacon heard{.proximityUUID = manager->getRegion()->proximityUUID(), .major = 1, .minor = 2};
  manager->locationManager_didRangeBeacons_inRegion(services, {heard}, *manager->getRegion());
  EXPECT_EQ(host->matches.back()->rssi(), -50);
  EXPECT_THROW(manager->setLocationManager(nullptr), std::invalid_argument);
}

TEST(WithoutServices, NoManagerIsCreated) {
  EXPECT_THROW(BVManager::initWithDelegate(nullptr), std::logic_error);
  EXPECT_THROW(platform::install({}), std::logic_error);
  FakeServices::get();
  EXPECT_THROW(platform::install(platform::services()), std::logic_error);
}

}  // namespace
