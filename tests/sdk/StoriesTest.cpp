// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "BrivaneSDK/BrivaneSDK.h"
#include "platform/json/SimdJSON.h"
#include "testing/Phone.h"
#include "testing/RecordingLocationService.h"
#include "testing/RecordingManagerDelegate.h"

namespace {

using namespace brivane::testing;

/// Plays words one by one and gives what was seen of them, in one order: calls of the location service behind ">", of
/// the host behind "<", requests, and lines of the log if they are shown. Before a word, "b." means the second manager
/// in place of the first.
class Player final : public platform::Log {
 public:
  Player() {
    auto services = phone_.services(std::make_shared<platform::SimdJSON>());
    services.location = service_;
    services.log = std::shared_ptr<Log>(std::shared_ptr<void>(), this);
    platform::install(services);
    phone_.preferences->setValue_forKey("ID", "installUUID");
    service_->onCall([this](const std::string& call) {
      if (call == amid_) perform(std::exchange(meanwhile_, ""));
    });
    phone_.journal->take();
  }

  std::string play(const std::string& happens) {
    std::istringstream words(happens);
    for (std::string word; words >> word;) {
      try {
        perform(word);
      } catch (const BVException& fault) {
        see("threw " + fault.name() + ": " + fault.reason());
      } catch (const std::exception& fault) {
        see(std::string("threw ") + fault.what());
      }
    }
    return shortened(phone_.journal->take("|"));
  }

 private:
  void see(const std::string& event) { phone_.journal->write(event); }
  void write(std::string_view line) override {
    if (showsLog_) phone_.journal->write(line);
  }

  /// A host that then does what "then=" said, once. The records that hosts are handed are numbered.
  std::shared_ptr<RecordingManagerDelegate> host() {
    auto host = std::make_shared<RecordingManagerDelegate>(phone_.journal, "<" + slot_);
    host->onCall([this, plain = host.get()](const std::string& line) {
      if (line.starts_with("match")) {
        const auto number = records_.try_emplace(plain->matches().back(), records_.size()).first->second;
        see("#" + std::to_string(number));
      }
      perform(std::exchange(reaction_, ""));
    });
    return host;
  }

  void perform(std::string word) {
    if (word.empty()) return;
    slot_ = word.starts_with("b.") ? "b." : "";
    word.erase(0, slot_.size());
    const std::size_t equals = word.find('=');
    argument_ = equals == std::string::npos ? "" : word.substr(equals + 1);
    deeds_.at(word.substr(0, equals))();
  }
  BVManager& manager() { return *managers_.at(slot_); }
  void answer(bool yes) { see(yes ? "yes" : "no"); }
  void determine(std::int64_t state) {
    manager().locationManager_didDetermineState_forRegion(*location_, state, *manager().getRegion());
  }
  /// "1.2,3.4": the beacons 1.2 and 3.4, each with a strength of its own.
  void hear(const platform::UUID& network) {
    std::vector<platform::CLBeacon> beacons;
    std::istringstream text(argument_);
    char separator = 0;
    for (std::int32_t major = 0, minor = 0; text >> major >> separator >> minor; text >> separator) {
      beacons.push_back({.proximityUUID = network, .major = major, .minor = minor, .rssi = -10 * major - minor});
    }
    manager().locationManager_didRangeBeacons_inRegion(*location_, beacons, *manager().getRegion());
  }
  /// As many positions, each of its own.
  void locate() {
    std::vector<platform::CLLocation> positions;
    for (double i = 1; i <= std::stod(argument_); ++i) {
      positions.push_back({.coordinate = {40 + i, -3 - i}, .horizontalAccuracy = i * 100});
    }
    manager().locationManager_didUpdateLocations(*location_, positions);
  }
  void tellRest() {
    const auto region = manager().getRegion();
    manager().locationManager_didEnterRegion(*location_, *region);
    manager().locationManager_didExitRegion(*location_, *region);
    manager().locationManager_didFailWithError(*location_, "a");
    manager().locationManager_monitoringDidFailForRegion_withError(*location_, *region, "b");
    manager().locationManager_rangingBeaconsDidFailForRegion_withError(*location_, *region, "c");
  }
  /// A number: a reply that has one, whatever it answers; else the body itself.
  void reply(std::size_t index) {
    const bool isNumber = argument_.find_first_not_of("0123456789") == std::string::npos;
    const std::string body =
        R"({"access_token":"t)" + argument_ + R"(","match":"m)" + argument_ + R"(","beacons":[{},{}]})";
    phone_.http->reply({isNumber ? body : argument_, 500}, index);  // nobody looks at the status
  }
  void seeRegion() {
    const auto region = manager().getRegion();
    see(region->identifier() + " " + region->proximityUUID().UUIDString() + (region->notifyOnEntry() ? " entry" : "") +
        (region->notifyOnExit() ? " exit" : "") + (region->notifyEntryStateOnDisplay() ? " display" : ""));
  }
  void set(const char* text) {
    properties_.erase(argument_);
    if (text != nullptr) properties_.emplace(argument_, text);
    phone_.propertyList->set(properties_);
  }
  /// With short names for what is seen often, each field of it as it must be.
  static std::string shortened(std::string seen) {
    const std::pair<std::string, std::string> names[] = {
        {BVNetwork::proximityUUID(), "NETWORK"},
        {"POST oauth2/token/ client_id=key&client_secret=secret&grant_type=client_credentials", "LOGIN"},
        {"POST sync/ installID=ID&model=test", "SYNC"},
        {"POST resolve/ battery=-1&installID=ID&major=1&minor=2&model=test&rssi=-12&uuid=NETWORK", "RESOLVE1.2"},
        {"POST resolve/ battery=-1&installID=ID&major=3&minor=4&model=test&rssi=-34&uuid=NETWORK", "RESOLVE3.4"},
        {"POST tracker/ installID=ID&lat=41.000000&lng=-4.000000&model=test&provider=ios&radius=100&speed=0", "TRACK1"},
        {"POST tracker/ installID=ID&lat=42.000000&lng=-5.000000&model=test&provider=ios&radius=200&speed=0", "TRACK2"},
        {"POST nearest/ lat=1.5&lng=-2&radius=500", "NEAREST"},
        {" [Bearer t1]", "[t1]"},
        {R"(DATA: {"access_token":"t5","match":"m5","beacons":[{},{}]})", "DATA5"},
        {R"(DATA: {"access_token":"t6","match":"m6","beacons":[{},{}]})", "DATA6"},
        {">create|>delegate|>ask", "CREATE"},
        {">monitor|>ask state", "MONITOR"},
        {">accuracy 10|>filter 20|>update", "UPDATE"},
        {"BV API not ready or initialized properly|no", "UNREADY"},
        {"threw BVAPICredentialsNotFound: Not found Brivane SDK/API Credentials in Main bundle (check Info.plist)",
         "NO CREDENTIALS"},
        {"threw BVCoreLocationAuthError: Not NSLocationAlwaysUsageDescription found (check Info.plist)", "NO REASON"},
        {"-> Major: 1 - Minor: 2|Cache miss, goes to API", "MISS1.2"},
        {"-> Major: 3 - Minor: 4|Cache miss, goes to API", "MISS3.4"},
        {"URL: https://api.brivane.example/api/v1/tracker/", "URL"}};
    for (const auto& [from, to] : names) {
      for (std::size_t at = 0; (at = seen.find(from, at)) != std::string::npos;) seen.replace(at, from.size(), to);
    }
    return seen;
  }

  bool showsLog_ = false;
  Phone phone_;
  const std::shared_ptr<RecordingLocationService> service_ =
      std::make_shared<RecordingLocationService>(phone_.journal, ">");
  const std::shared_ptr<platform::CLLocationManager> location_ =
      RecordingLocationService(phone_.journal, ">other ").createManager();
  FixedPropertyList::Entries properties_ = FixedPropertyList::complete();
  std::map<std::string, std::shared_ptr<BVManager>> managers_;
  std::map<std::shared_ptr<const BVAPIResolve>, std::size_t> records_;
  std::string slot_, argument_, reaction_, amid_, meanwhile_;
  const std::map<std::string, std::function<void()>> deeds_ = {
      {"log", [this] { showsLog_ = argument_ != "off"; }},
      {"forget", [this] { phone_.journal->take(); }},
      // What the host does.
      {"new", [this] { managers_[slot_] = BVManager::initWithDelegate(host()); }},
      {"own", [this] { managers_[slot_] = BVManager::initWithDelegate_andAPIKey_andAPISecret(host(), "own", ""); }},
      {"ready", [this] { play("new reply=1 reply=1"); }},
      {"drop", [this] { managers_.erase(slot_); }},
      {"nobody", [this] { manager().setDelegate(nullptr); }},
      {"somebody", [this] { manager().setDelegate(host()); }},
      {"relocate", [this] { manager().setLocationManager(argument_ == "null" ? nullptr : location_); }},
      {"gps", [this] { manager().setEnabledGPS(argument_ != "off"); }},
      {"start", [this] { answer(manager().startDetection()); }},
      {"stop", [this] { answer(manager().stopDetection()); }},
      {"scanning", [this] { answer(manager().isScanning()); }},
      {"region", [this] { seeRegion(); }},
      {"nearest", [this] { answer(manager().getNearestAtLat_andLng_insideRadius(1.5, -2, 500)); }},
      {"payload", [this] { answer(manager().setPayload_forWaybeacon({}, nullptr)); }},
      {"then", [this] { reaction_ = argument_; }},
      {"amid", [this] { amid_ = argument_; }},
      {"meanwhile", [this] { meanwhile_ = argument_; }},
      {"nothing",
       [this] {
         manager().receivedResolve_forRequest(
             nullptr, BVAPIResolveRequest::initWithUUID_withMajor_withMinor(BVNetwork::proximityUUID(), 1, 2));
       }},
      {"throw", [] { throw std::runtime_error("a host's own"); }},
      // What happens to it.
      {"lose", [this] { set(nullptr); }},
      {"empty", [this] { set(""); }},
      {"restore", [this] { set("x"); }},
      {"status", [this] { service_->setAuthorizationStatus(std::stoi(argument_)); }},
      {"services", [this] { service_->setLocationServicesEnabled(argument_ == "on"); }},
      {"unasked", [this] { service_->setOffersRequestAlwaysAuthorization(false); }},
      {"authorization", [this] { manager().locationManager_didChangeAuthorizationStatus(*location_, 0); }},
      {"state", [this] { determine(std::stoi(argument_)); }},
      {"rest", [this] { tellRest(); }},
      {"hear", [this] { hear(manager().getRegion()->proximityUUID()); }},
      {"strange", [this] { hear(platform::UUID()); }},
      {"at", [this] { locate(); }},
      {"reply", [this] { reply(0); }},
      {"reply2nd", [this] { reply(1); }},
      {"fail", [this] { phone_.http->reply({}); }},
  };
};

struct Story {
  const char *name, *happens, *seen;
};
void PrintTo(const Story& story, std::ostream* out) { *out << story.name; }

const Story kStories[] = {
    {"Begins",
     R"(log new reply={"access_token":"t1","scope":"s","expires_in":-9000000000000,"token_type":"y"} authorization )"
     R"(reply={"status":1,"pubkey":"k"})",
     "Init with delegate!|API Key: key - API Secret: secret|LOGIN|>create|>delegate|Requesting always auth|>ask|DATA: "
     R"({"access_token":"t1","scope":"s","expires_in":-9000000000000,"token_type":"y"}|Access token: t1|Received login )"
     "callback!!!|-> Token: t1|-> Scope: s|-> Expires in: -9000000000000|-> Expires date: 1677-09-21 00:12:43 +0000|-> "
     R"(Type: y|SYNC[t1]|AUTHORIZATION!|DATA: {"status":1,"pubkey":"k"}|Sync done|Received sync callback!!!|-> Status: 1|)"
     "-> Offline: 0|-> Internal: 0|-> Public key: k|<ready"},
    {"BeginsWithNothing", R"(unasked log own reply={"expires_in":1e30} reply={"offline":1})",
     "Init with delegate!|API Key: own - API Secret: |POST oauth2/token/ "
     R"(client_id=own&client_secret=&grant_type=client_credentials|>create|>delegate|DATA: {"expires_in":1e30}|Access )"
     "token: (null)|Received login callback!!!|-> Token: (null)|-> Scope: (null)|-> Expires in: 9223372036854775807|-> "
     R"(Expires date: 2262-04-11 23:47:16 +0000|-> Type: (null)|SYNC|DATA: {"offline":1}|Sync done|Received sync )"
     "callback!!!|-> Status: 0|-> Offline: 1|-> Internal: 0|-> Public key: (null)|<ready"},
    {"NeedsCredentials",
     "lose=BrivaneAPIKey new empty=BrivaneAPIKey new restore=BrivaneAPIKey empty=BrivaneAPISecret new "
     "lose=BrivaneAPISecret new",
     "NO CREDENTIALS|NO CREDENTIALS|NO CREDENTIALS|NO CREDENTIALS"},
    {"NeedsAReason", "log lose=NSLocationAlwaysUsageDescription new empty=NSLocationAlwaysUsageDescription own",
     "Init with delegate!|NO REASON|Init with delegate!|NO REASON"},
    {"WaitsForItsSession", "new forget log start nearest payload log=off reply=1 log start nearest payload",
     "Start detection|UNREADY|UNREADY|UNREADY|SYNC[t1]|Start detection|UNREADY|UNREADY|UNREADY"},
    {"WaitsForConsent",
     "status=4 ready log start services=off authorization services=on authorization status=3 authorization "
     "authorization start scanning",
     "Start detection|BV location not authorized|no|AUTHORIZATION!|Couldn't turn on ranging: Location services are not "
     "enabled.|AUTHORIZATION!|Couldn't turn on monitoring: Location services not authorised.|AUTHORIZATION!|Auth "
     "ok|<ready|AUTHORIZATION!|Start detection|Region: NETWORK|MONITOR|yes|yes"},
    {"WaitsForAHost", "new gps nobody reply=1 reply=1 start forget log authorization at=1 somebody authorization at=1",
     "AUTHORIZATION!|API not ready|AUTHORIZATION!|Auth ok|<ready|URL|TRACK1[t1]"},
    {"StartsAndStops", "ready region stop start scanning gps start start stop stop gps=off start",
     "BrivaneNetwork NETWORK entry exit display|>unmonitor|yes|MONITOR|yes|yes|MONITOR|UPDATE|yes|MONITOR|UPDATE|yes|"
     ">unmonitor|>stop|yes|>unmonitor|yes|MONITOR|yes"},
    {"StartsWithoutPositions", "ready gps services=off then=stop start scanning start scanning",
     "MONITOR|<error 1 No location services enabled|>unmonitor|yes|yes|no|MONITOR|<error 1 No location services "
     "enabled|yes|yes"},
    {"FollowsTheRegion", "ready log state=1 state=0 state=7 stop state=2 state=1 state=2 stop scanning rest",
     "DETERMINATE STATE!|INSIDE|>range|DETERMINATE STATE!|UNKNOWN|DETERMINATE STATE!|Stop "
     "detection|>unmonitor|>unrange|yes|DETERMINATE STATE!|>unrange|OUTSIDE|DETERMINATE "
     "STATE!|INSIDE|>range|DETERMINATE STATE!|>unrange|OUTSIDE|Stop detection|>unmonitor|yes|no|REGION IN!|REGION "
     "OUT!|Failed monitoring region: a|Location manager failed: b|Ranging beacons failed: c"},
    {"StopsWhatBeginsMeanwhile",
     "ready gps start amid=range meanwhile=stop state=1 state=1 amid=unrange meanwhile=state=1 stop amid=stop "
     "meanwhile=start start stop stop",
     "MONITOR|UPDATE|yes|>range|>unmonitor|>unrange|>stop|yes|>unrange|>range|>unmonitor|>unrange|>range|>unrange|yes|"
     "MONITOR|UPDATE|yes|>unmonitor|>stop|MONITOR|UPDATE|yes|>stop|yes|>unmonitor|yes"},
    {"MatchesBeacons", "ready log hear=1.2,3.4 reply2nd=5 reply=6 hear=3.4,1.2 hear=",
     "Ranging beacons ok|MISS1.2|Resolving...|RESOLVE1.2[t1]|MISS3.4|Resolving...|RESOLVE3.4[t1]|DATA5|Resolve "
     "done|Received resolve!!!|<match m5|#0|DATA6|Resolve done|Received resolve!!!|<match m6|#1|Ranging beacons ok|-> "
     "Major: 3 - Minor: 4|Cache hit|Received resolve!!!|<match m5|#0|-> Major: 1 - Minor: 2|Cache hit|Received "
     "resolve!!!|<match m6|#1|Ranging beacons ok"},
    {"KeepsTheLastReply", "ready hear=1.2,1.2 reply=5 hear=1.2 nobody reply=6 somebody nothing hear=1.2 start hear=1.2",
     "RESOLVE1.2[t1]|RESOLVE1.2[t1]|<match m5|#0|<match m5|#0|<no match|<match m6|#1|MONITOR|yes|RESOLVE1.2[t1]"},
    {"GivesUpAfterFive",
     R"(ready hear=1.2 fail hear=1.2 reply={"status":false} hear=1.2 reply=junk hear=1.2 log reply=[] log=off hear=1.2 fail )"
     "hear=1.2,3.4 start hear=1.2",
     "RESOLVE1.2[t1]|RESOLVE1.2[t1]|RESOLVE1.2[t1]|RESOLVE1.2[t1]|DATA: []|Error reading the reply: the reply "
     "holds a list in place of an object|RESOLVE1.2[t1]|RESOLVE3.4[t1]|MONITOR|yes|RESOLVE1.2[t1]"},
    {"KnowsWhatIsNoBeacon",
     "new reply=1 hear=1.2 reply=1 forget hear=65535.1,65535.1,65535.1,65535.1,65535.1 log hear=65535.65535,65535.1 "
     "hear=1.65535 log=off strange=1.2 reply=5 hear=1.2 strange=1.2",
     "Ranging beacons ok|-> Major: 65535 - Minor: 65535|-> Major: 65535 - Minor: 1|Cache miss, goes to API|Max num "
     "tries achivied|Ranging beacons ok|-> Major: 1 - Minor: 65535|Cache miss, goes to API|POST resolve/ "
     "battery=-1&installID=ID&major=1&minor=2&model=test&rssi=-12&uuid=00000000-0000-0000-0000-000000000000[t1]|<match "
     "m5|#0|RESOLVE1.2[t1]|<match m5|#0"},
    {"ResolvesNothingBeforeItsSync", "new hear=1.2 reply=1 log hear=1.2",
     "LOGIN|CREATE|SYNC[t1]|Ranging beacons ok|-> Major: 1 - Minor: 2"},
    {"SendsPositions",
     R"(ready gps forget log at=0 at=1 log=off start log at=2 reply=5 at=1 reply={"status":0} log=off hear=1.2 stop log )"
     "at=1",
     "Location is null|Location update while not running|MONITOR|UPDATE|yes|URL|TRACK2[t1]|DATA5|Resolve GPS done|"
     R"(Received resolve!!!|<match m5|#0|URL|TRACK1[t1]|DATA: {"status":0}|Beacon not found|RESOLVE1.2[t1]|>unmonitor|)"
     ">stop|yes|Location update while not running"},
    {"FindsPlaces", "ready log nearest reply=5 nearest reply={} nobody nearest reply=5 payload",
     "NEAREST[t1]|yes|DATA5|Nearest waybeacons received|Received nearest: 2|<nearest 2|NEAREST[t1]|yes|DATA: "
     "{}|Nearest waybeacons received|Received nearest: 0|<nearest none|NEAREST[t1]|yes|DATA5|Nearest waybeacons "
     "received|Received nearest: 2|yes"},
    {"SharesItsState",
     "ready start state=1 hear=1.2 reply=5 forget b.new hear=1.2 b.scanning b.stop reply2nd=6 reply=1 start reply=1 "
     "b.authorization hear=1.2 b.start scanning b.drop nearest reply=7 hear=3.4 reply=8 hear=3.4",
     "LOGIN[t1]|CREATE|RESOLVE1.2[t1]|yes|>unmonitor|>unrange|yes|<b.match m6|#1|SYNC[t1]|no|<b.ready|<match "
     "m6|#1|MONITOR|yes|yes|NEAREST[t1]|yes|RESOLVE3.4[t1]|RESOLVE3.4[t1]"},
    {"SyncsTheNewest", "new b.new forget reply=1 reply2nd=1 relocate stop relocate=null",
     "SYNC[t1]|<b.ready|>other unmonitor|yes|threw a BVManager needs a location manager"},
    {"IsDroppedBeforeItIsAnswered",
     "new drop reply=2 new forget reply=1 drop log reply=1 log=off b.new log b.hear=1.2 b.start",
     R"(SYNC[t1]|DATA: {"access_token":"t1","match":"m1","beacons":[{},{}]}|Sync done|LOGIN[t1]|CREATE|Ranging beacons ok|)"
     "-> Major: 1 - Minor: 2|Start detection|Region: NETWORK|MONITOR|yes"},
    {"BearsWhatHostsDo",
     "new reply=1 then=drop reply=1 new reply=1 then=throw reply=1 forget hear=1.2 then=throw reply=5 then=stop "
     "hear=1.2,3.4 then=nobody hear=1.2,1.2 somebody then=start hear=1.2,1.2",
     "RESOLVE1.2[t1]|<match m5|#0|A callback failed: a host's own|<match m5|#0|>unmonitor|yes|RESOLVE3.4[t1]|<match "
     "m5|#0|<match "
     "m5|#0|MONITOR|yes|RESOLVE1.2[t1]"},
};

class Manager : public testing::TestWithParam<Story> {};

TEST_P(Manager, Does) { EXPECT_EQ(Player().play(GetParam().happens), GetParam().seen); }

INSTANTIATE_TEST_SUITE_P(, Manager, testing::ValuesIn(kStories), [](const auto& story) { return story.param.name; });

TEST(WithoutServices, NoManagerIsCreated) {
  const Phone phone;
  EXPECT_THROW(BVManager::initWithDelegate(nullptr), std::logic_error);
  EXPECT_THROW(platform::install({}), std::logic_error);
  platform::install(phone.services(std::make_shared<platform::SimdJSON>()));
  EXPECT_THROW(platform::install(platform::services()), std::logic_error);
}

}  // namespace
