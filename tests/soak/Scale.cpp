// SPDX-License-Identifier: Apache-2.0

// What a network's service is asked on a morning: plays walkers, one after another, each with the
// real library and in virtual time, past the soak's street and a service that fails at times, and
// prints what was sent in each second, as JSON. script/scale makes docs/scale.md of it.
//
// usage: Scale WALKERS
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "BrivaneSDK/BrivaneSDK.h"
#include "platform/Services.h"
#include "platform/json/SimdJSON.h"
#include "platform/location/LocationCore.h"
#include "testing/CountedUUIDs.h"
#include "testing/FixedDeviceModel.h"
#include "testing/FixedPropertyList.h"
#include "testing/MemoryPreferences.h"
#include "tests/soak/Street.h"

namespace {

// A second of the morning is the time since it began.
constexpr int kMorning = 2 * 3600;
constexpr double kMeanStart = 3600.0;
constexpr double kSpreadOfStarts = 20.0 * 60.0;
constexpr int kWalk = 20 * 60;
constexpr int kOutageBegins = 3600;
constexpr int kOutageEnds = kOutageBegins + 10 * 60;
/// Of a hundred answers, as the soak has it: transport failures and faults of the service, which a
/// store replaces, and answers that cannot be read.
constexpr double kReplaceableFaults = 0.015;
constexpr double kFaults = 0.02;

struct Scenario {
  const char* name;
  bool hasOutage = false;
  /// Whether what is asked has been answered on earlier days, and was kept.
  bool keepsAnswers = false;
  /// Within so many seconds after an outage that it met, a phone starts detection anew; -1: never.
  int restartsWithin = -1;
  /// Seconds.
  int tokenLife = kMorning;
};

constexpr Scenario kScenarios[] = {
    {.name = "ordinary"},
    {.name = "ordinary, kept answers", .keepsAnswers = true},
    {.name = "tokens of ten minutes", .tokenLife = 600},
    {.name = "outage", .hasOutage = true},
    {.name = "outage, all start anew at once", .hasOutage = true, .restartsWithin = 0},
    {.name = "outage, anew within two minutes", .hasOutage = true, .restartsWithin = 120},
    {.name = "outage, kept answers, anew within two minutes",
     .hasOutage = true,
     .keepsAnswers = true,
     .restartsWithin = 120},
};

/// The service as one phone after another meets it, with the store of answers that stands before it
/// where there is one. Answers within the call.
class Morning final : public platform::HTTPClient {
 public:
  explicit Morning(std::uint32_t seed) : random_(seed) {}

  void begin(const Scenario& scenario) {
    scenario_ = scenario;
    sent_.clear();
  }
  bool isOut() const { return scenario_.hasOutage && second >= kOutageBegins && second < kOutageEnds; }
  int random(int most) { return std::uniform_int_distribution(0, most)(random_); }
  int startOfWalk() {
    std::normal_distribution starts(kMeanStart, kSpreadOfStarts);
    double start = -1.0;
    while (start < 0.0 || start > kMorning - kWalk) start = starts(random_);
    return static_cast<int>(start);
  }
  /// By endpoint, how many requests were sent in each second.
  const std::map<std::string, std::vector<std::int64_t>>& sent() const { return sent_; }

  int second = 0;
  /// The session began without the service.
  bool isOffline = false;
  bool isExpired = false;

 private:
  void execute(platform::HTTPRequest request, Completion completion) override {
    const std::string endpoint = endpointOf(request.url);
    const bool isLogin = endpoint == "login";
    if (isLogin) isOffline = false;
    // A session without the service only asks whether it is there, and not once it is.
    if (!isOffline || (endpoint == "resolve" && isOut())) count(endpoint);
    if (!isLogin && second - issued_ >= scenario_.tokenLife) {
      isExpired = true;
      return completion(platform::HTTPResponse{401}, R"({"error":"invalid_token"})");
    }
    const double luck = std::uniform_real_distribution(0.0, 1.0)(random_);
    const bool fails = isOut() || isOffline || luck < kReplaceableFaults;
    if (fails && !scenario_.keepsAnswers) return completion(std::nullopt, std::nullopt);
    if (fails && isLogin) isOffline = true;
    if (!fails && luck < kFaults) return completion(platform::HTTPResponse{200}, "{");
    if (isLogin) issued_ = second;
    completion(platform::HTTPResponse{200},
               R"({"access_token":"t","match":")" + std::to_string(beaconOf(request.body)) + R"(","waybeacon":{}})");
  }

  static std::string endpointOf(std::string_view url) {
    if (url.ends_with("token/")) return "login";
    return url.ends_with("sync/") ? "sync" : "resolve";
  }
  static int beaconOf(std::string_view body) {
    return Street::beacon(numberBehind("major=", body), numberBehind("minor=", body));
  }
  static int numberBehind(std::string_view label, std::string_view text) {
    const std::size_t found = text.find(label);
    int number = 0;
    if (found != text.npos) {
      std::from_chars(text.data() + found + label.size(), text.data() + text.size(), number);
    }
    return number;
  }
  void count(const std::string& endpoint) {
    auto& seconds = sent_[endpoint];
    seconds.resize(kMorning);
    ++seconds.at(static_cast<std::size_t>(second));
  }

  std::mt19937 random_;
  Scenario scenario_;
  std::map<std::string, std::vector<std::int64_t>> sent_;
  int issued_ = 0;
};

/// A phone, and the host on it.
class Walker final : public BVManagerDelegate, public std::enable_shared_from_this<Walker> {
 public:
  Walker(Morning& morning, const Scenario& scenario) : morning_(morning), scenario_(scenario) {}

  /// How many of the places that it passed were never named.
  std::size_t walk() {
    const int first = morning_.random(Street::kBeacons - 1);
    const int start = morning_.startOfWalk();
    int nextLogin = start;
    int restart = -1;
    std::set<int> passed;
    for (int second = start; second < start + kWalk; ++second) {
      morning_.second = second;
      const bool isDue = restart == second && (scenario_.restartsWithin >= 0 || morning_.isOffline);
      const bool isAnew = isDue || morning_.isExpired;
      if (isAnew || (!isReady_ && second >= nextLogin)) {
        logIn();
        nextLogin = second + kLeastBetweenLogins + morning_.random(kLeastBetweenLogins);
      }
      if (morning_.isOut() && restart < 0) {
        restart = kOutageEnds + morning_.random(std::max(scenario_.restartsWithin, 0));
      } else if (morning_.isOffline && !morning_.isOut() && restart < second) {
        restart = second + 1 + morning_.random(kLongestRenewal);
      }
      range(first + second - start, passed);
    }
    manager_->stopDetection();
    for (const int beacon : named_) passed.erase(beacon);
    return passed.size();
  }

 private:
  /// A host whose login failed tries again after so many seconds, or up to twice as many.
  static constexpr int kLeastBetweenLogins = 30;
  /// A session without the service is renewed within so many seconds once the service is back.
  static constexpr int kLongestRenewal = 120;

  void logIn() {
    isReady_ = false;
    morning_.isExpired = false;
    manager_ = BVManager::initWithDelegate(shared_from_this());
    if (isReady_) manager_->startDetection();
  }

  void range(int first, std::set<int>& passed) {
    std::vector<platform::CLBeacon> beacons;
    for (int place = 0; place < Street::kInRange; ++place) {
      const int beacon = (first + place) % Street::kBeacons;
      passed.insert(beacon);
      platform::CLBeacon heard;
      heard.proximityUUID = region_;
      heard.major = static_cast<std::uint16_t>(beacon / kMinors);
      heard.minor = static_cast<std::uint16_t>(beacon % kMinors);
      heard.rssi = -40 - place;
      beacons.push_back(heard);
    }
    if (!isReady_) return;
    manager_->locationManager_didRangeBeacons_inRegion(*manager_->locationManager(), beacons, *manager_->getRegion());
  }

  void didIsReady() override { isReady_ = true; }
  void didErrorFound(const std::shared_ptr<const BVError>& /*error*/) override {}
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) override {
    if (match->uuid()) named_.insert(std::stoi(*match->uuid()));
  }
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>& /*places*/) override {}

  static constexpr int kMinors = 100;

  Morning& morning_;
  const Scenario scenario_;
  const platform::UUID region_ = platform::UUID::initWithUUIDString(BVNetwork::proximityUUID()).value();
  std::shared_ptr<BVManager> manager_;
  std::set<int> named_;
  bool isReady_ = false;
};

nlohmann::json play(Morning& morning, const Scenario& scenario, int walkers) {
  morning.begin(scenario);
  std::size_t unnamed = 0;
  for (int i = 0; i < walkers; ++i) {
    morning.isOffline = morning.isExpired = false;
    unnamed += std::make_shared<Walker>(morning, scenario)->walk();
  }
  return {{"name", scenario.name},
          {"sent", morning.sent()},
          {"unnamed", static_cast<double>(unnamed) / walkers},
          {"passed", Street::kInRange + kWalk - 1},
          {"walkSeconds", kWalk}};
}

}  // namespace

int main(int argc, char** argv) {
  const int walkers = argc == 2 ? std::stoi(argv[1]) : 0;
  if (walkers < 1) {
    std::cerr << "usage: Scale WALKERS\n";
    return 2;
  }
  constexpr std::uint32_t kSeed = 1;
  const auto morning = std::make_shared<Morning>(kSeed);
  platform::install({.http = morning,
                     .json = std::make_shared<platform::SimdJSON>(),
                     .preferences = std::make_shared<brivane::testing::MemoryPreferences>(),
                     .propertyList = std::make_shared<brivane::testing::FixedPropertyList>(),
                     .location = std::make_shared<platform::LocationCore>(
                         platform::LocationCore::Options{.permission = platform::alwaysPermitted}),
                     .deviceModel = std::make_shared<brivane::testing::FixedDeviceModel>("phone"),
                     .randomUUID = std::make_shared<brivane::testing::CountedUUIDs>()});
  nlohmann::json all = nlohmann::json::array();
  for (const Scenario& scenario : kScenarios) all.push_back(play(*morning, scenario, walkers));
  std::cout << all << '\n';
}
