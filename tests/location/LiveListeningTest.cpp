// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "platform/location/LiveLocationService.h"
#include "testing/BeaconFrame.h"
#include "testing/RecordingLocationDelegate.h"
#include "testing/VirtualLoop.h"

namespace {

using namespace std::chrono_literals;
using namespace brivane::testing;
using namespace platform;

/// Live listening without a phone: what its radio and its positions are told to do, and what managers report, stand in
/// one line, each behind the second at which it happened.
class Listening final : public Log {
 public:
  explicit Listening(bool withPositions) {
    LiveLocationService::Sources sources{.eventLoop = [this] { return loop; },
                                         .radio = [this](auto& listener) { return make(radio, listener); },
                                         .positions = nullptr};
    if (withPositions) {
      sources.positions = [this](auto& listener) { return make(positions, listener); };
    }
    LiveLocationService::Options options{.log = std::shared_ptr<Log>(std::shared_ptr<void>(), this)};
    options.onPermission = [this](const Permission&, const std::string& why) { reason = why; };
    service = std::make_unique<LiveLocationService>(std::move(sources), std::move(options));
  }
  ~Listening() override = default;
  Listening(const Listening&) = delete;
  Listening& operator=(const Listening&) = delete;

  /// Plays words one by one. "2.5" runs the loop until then; "b.range" is a deed of the manager b, and "range" one of
  /// a; "enter=drop+loop" has the next call of that name do these.
  std::string play(const std::string& script) {
    std::istringstream words(script);
    for (std::string word; words >> word;) {
      const std::size_t equals = word.find('=');
      if (std::isdigit(static_cast<unsigned char>(word[0])) != 0) {
        const Instant time(std::chrono::milliseconds(std::lround(std::stod(word) * 1000)));
        loop->advance(time - loop->now());
      } else if (equals != std::string::npos) {
        reactions[word.substr(0, equals)] = word.substr(equals + 1);
      } else {
        act(word);
        if (!word.starts_with("block")) loop->advance({});
      }
    }
    return seen;
  }

 private:
  template <typename Source>
  struct Fake : Source {
    Fake(Listening& owner, typename Source::Listener& listener) : all(owner), told(listener) {}
    ~Fake() override { EXPECT_EQ(all.sourceCalls, 0) << "destroyed under its own call"; }
    Fake(const Fake&) = delete;
    Fake& operator=(const Fake&) = delete;
    Listening& all;
    typename Source::Listener& told;
  };
  struct FakeRadio final : Fake<Radio> {
    using Fake::Fake;
    void listen(const Wanted& wanted) override {
      EXPECT_EQ(all.sourceCalls, 0) << "asked to listen under its own call";
      const bool waits = !wanted.networks.empty() && !wanted.everyFrame;
      all.note((waits ? "await" : "listen") + std::to_string(wanted.networks.size()));
    }
    void stop() override { all.note("stop"); }
  };
  struct FakePositions final : Fake<PositionSource> {
    using Fake::Fake;
    void start(double accuracy) override { all.note("start" + std::to_string(std::lround(accuracy))); }
    void stop() override { all.note("halt"); }
  };

  template <typename Source>
  std::unique_ptr<Source> make(Source*& latest, auto& listener) {
    auto source = std::make_unique<Source>(*this, listener);
    latest = source.get();
    return source;
  }

  void write(std::string_view line) override { note("log(" + std::string(line) + ")"); }
  void note(const std::string& what) {
    std::ostringstream line;
    line << (seen.empty() ? "" : " ") << std::chrono::duration<double>(loop->now().time_since_epoch()).count() << ":"
         << what;
    seen += line.str();
  }

  void create(char name) {
    managers[name] = service->createManager();
    const auto delegate = std::make_shared<RecordingLocationDelegate>();
    delegates.push_back(delegate);
    delegate->onCall([this, name](auto&, const std::string& call) {
      std::string permission;
      if (call.starts_with("auth")) permission = (service->locationServicesEnabled() ? "" : "off") + reason;
      note((name == 'a' ? "" : std::string(1, name) + ".") + call + permission);
      const auto reaction = reactions.find(call.substr(0, call.find('-')));
      if (reaction == reactions.end()) return;
      std::istringstream deeds(reaction->second);
      reactions.erase(reaction);
      for (std::string deed; std::getline(deeds, deed, '+');) act(deed);
    });
    managers[name]->setDelegate(delegate);
  }

  void act(const std::string& word) {
    const bool isNamed = word.size() > 2 && word[1] == '.';
    const char name = isNamed ? word[0] : 'a';
    const std::string deed = isNamed ? word.substr(2) : word;
    CLLocationManager* const manager = managers[name].get();
    if (deed == "new") return create(name);
    if (deed == "authorize") return manager->requestAlwaysAuthorization();
    if (deed == "monitor") return manager->startMonitoringForRegion(region);
    if (deed == "unmonitor") return manager->stopMonitoringForRegion(*region);
    if (deed == "range") return manager->startRangingBeaconsInRegion(region);
    if (deed == "unrange") return manager->stopRangingBeaconsInRegion(*region);
    if (deed == "ask") return manager->requestStateForRegion(region);
    if (deed == "silence") return manager->setDelegate({});
    if (deed == "quiet") return region->setNotifyOnEntry(false);
    if (deed == "filter20") return manager->setDistanceFilter(20);
    if (deed == "elsewhere") return manager->startMonitoringForRegion(otherRegion);
    if (deed == "update") return manager->startUpdatingLocation();
    if (deed == "coarse") return manager->setDesiredAccuracy(100);
    if (deed == "pause") return manager->stopUpdatingLocation();
    if (deed == "drop") return static_cast<void>(managers.erase(name));
    if (deed == "leave") return service.reset();
    if (deed == "throw") throw std::runtime_error("a host's own");
    if (deed == "loop") return loop->advance(2s);
    if (deed.starts_with("sleep")) return loop->sleep(std::chrono::seconds(std::stoi(deed.substr(5))));
    if (deed.starts_with("block")) return loop->block(std::chrono::seconds(std::stoi(deed.substr(5))));
    ++sourceCalls;
    actOfSource(deed);
    --sourceCalls;
  }

  /// What the radio or the positions tell.
  void actOfSource(const std::string& deed) {
    static const std::map<std::string, Radio::Status> statuses = {{"on", {.listening = true, .refused = false}},
                                                                  {"able", {.refused = false}},
                                                                  {"off", {.fault = "off", .refused = false}},
                                                                  {"refused", {.fault = "no", .refused = true}}};
    static const std::map<std::string, PositionGrant> grants = {{"pending", PositionGrant::kPending},
                                                                {"granted", PositionGrant::kGranted},
                                                                {"denied", PositionGrant::kDenied},
                                                                {"restricted", PositionGrant::kRestricted},
                                                                {"switchedOff", PositionGrant::kSwitchedOff}};
    if (const auto status = statuses.find(deed); status != statuses.end()) {
      radio->told.radioChanged(status->second);
    } else if (deed.starts_with("frame")) {
      // "frame3": it was heard three seconds ago.
      const auto ago = deed.size() > 5 ? std::chrono::seconds(std::stoi(deed.substr(5))) : 0s;
      radio->told.radioHeard(networkFrame(1, 2, -60), loop->now() - ago);
    } else if (deed.starts_with("hear")) {
      // "hear7/-80": another beacon, so strong.
      const std::size_t slash = deed.find('/');
      const auto minor = static_cast<std::uint16_t>(std::stoi(deed.substr(4)));
      radio->told.radioHeard(networkFrame(1, minor, std::stoi(deed.substr(slash + 1))), loop->now());
    } else if (deed == "stranger") {
      radio->told.radioHeard(beaconFrame(UUID(), 9, 9, -40), loop->now());
    } else if (deed[0] == '@') {
      // "@0.1": on that latitude.
      positions->told.positionFound({.coordinate = {std::stod(deed.substr(1)), 0}, .horizontalAccuracy = 5});
    } else {
      positions->told.positionGrantChanged(grants.at(deed), deed == "granted" ? "" : "why");
    }
  }

  std::string seen;
  std::string reason;  // that the permission has last
  std::map<std::string, std::string> reactions;
  std::shared_ptr<VirtualLoop> loop = std::make_shared<VirtualLoop>();
  int sourceCalls = 0;  // under way
  FakeRadio* radio = nullptr;
  FakePositions* positions = nullptr;
  std::unique_ptr<LiveLocationService> service;
  std::vector<std::shared_ptr<RecordingLocationDelegate>> delegates;
  std::map<char, std::shared_ptr<CLLocationManager>> managers;
  const std::shared_ptr<CLBeaconRegion> region = CLBeaconRegion::initWithProximityUUID_identifier(networkUUID(), "r");
  const std::shared_ptr<CLBeaconRegion> otherRegion = CLBeaconRegion::initWithProximityUUID_identifier(UUID(), "o");
};

struct Story {
  const char* script;
  const char* seen;
};

void check(bool withPositions, std::initializer_list<Story> stories) {
  for (const Story& story : stories) EXPECT_EQ(Listening(withPositions).play(story.script), story.seen) << story.script;
}

TEST(LiveListening, ListensWhileAManagerWantsBeacons) {
  check(false, {
                   // Nothing runs before something is wanted. The first question is whether the radio may be used.
                   {"new 5 authorize 6 able 7 monitor 8 on 9 unmonitor 10",
                    "0:auth0 5:listen0 6:auth3 6:stop 7:await1 9:stop"},
                   // Without the question the status stays open, and beacons come all the same.
                   {"new monitor 1 on 2 frame 3", "0:auth0 0:await1 2:enter 2:state1 2:listen1"},
                   {"new authorize monitor 1 refused 2 on 3", "0:auth0 0:listen0 0:await1 1:no 1:auth2no 2:auth3"},
                   // Permission that comes late is told when it comes.
                   {"new authorize monitor 60 on 61", "0:auth0 0:listen0 0:await1 60:auth3"},
                   {"new monitor elsewhere 1", "0:auth0 0:await1 0:await2"},
               });
}

TEST(LiveListening, ReportsWhatWasAskedForAndNothingElse) {
  check(false,
        {
            {"new monitor range ask 0 on 0.5 frame ask 1.5 stranger 3 unrange 31 stranger 32",
             "0:auth0 0:await1 0:listen1 0:state0 0.5:enter 0.5:state1 0.5:state1 1:range-60 2:range0 3:range0 "
             "30.5:exit 30.5:state2 30.5:await1"},
            // A region replaces the one under the same identifier. Entering may go unsaid, the state does not.
            {"new monitor on quiet 1 frame 2 monitor 33", "0:auth0 0:await1 1:state1 1:listen1 2:await1 32:state2"},
            // What was unknown is not left. The period stands still while nothing listens, also after a late frame.
            {"new monitor on 99 frame40 100 frame 120 frame 140 able 145 able 600 on 611 able 612 frame 700 on 731",
             "0:auth0 0:await1 30:state2 100:enter 100:state1 100:listen1 610:exit 610:state2 610:await1 "
             "612:enter "
             "612:state1 612:listen1 730:exit 730:state2 730:await1"},
            // Means, the nearest first, silent ones last, for a while. A second start changes nothing of the rhythm.
            {"new range on 0.1 hear1/-80 0.2 hear1/-71 0.3 hear2/-60 hear3/127 0.5 hear4/-50 range 1 1.5 hear1/-90 7",
             "0:auth0 0:listen1 1:range-50,-60,-76,0 2:range-90,0,0,0 3:range0,0,0,0 4:range0,0,0,0 5:range0,0,0,0 "
             "6:range0 7:range"},
        });
  // 11 m each; measured from the last that passed; a new start begins anew.
  check(true, {{"new update @0 @0.0 filter20 1 @0.0001 2 @0.0002 3 @0.0003 pause update 4 @0.0003",
                "0:auth0 0:start10 0:at 0:at 2:at 3:halt 3:start10 4:at"}});
}

TEST(LiveListening, GoesOnAfterARadioThatGoesAndReturns) {
  check(false, {
                   // A fault is told once; the exit period stands still meanwhile; ranging goes on in its rhythm.
                   {"new monitor on range 0.5 frame 1.5 unrange 2 off off 500 on 501 frame 540",
                    "0:auth0 0:await1 0:listen1 0.5:enter 0.5:state1 1:range-60 2:off 531:exit 531:state2 531:await1"},
                   {"new monitor on 1 frame 1 off 400 on 427 off 500 on 503 504",
                    "0:auth0 0:await1 1:enter 1:state1 1:listen1 1:off 427:off 503:exit 503:state2 503:await1"},
                   // An application that blocks misses reports, but leaves no region and gets no burst.
                   {"new monitor range on 0.5 frame block60 frame 61 61.6",
                    "0:auth0 0:await1 0:listen1 0.5:enter 0.5:state1 60.5:range-60 61.5:range-60"},
                   // Nothing that was heard before a long sleep counts after it.
                   {"new monitor range on 0.5 frame sleep3600 1 unrange 2 frame 3",
                    "0:auth0 0:await1 0:listen1 0.5:enter 0.5:state1 1:exit 1:state2 1:range 1:await1 2:enter 2:state1 "
                    "2:listen1"},
                   {"new monitor on 1 frame sleep20 30", "0:auth0 0:await1 1:enter 1:state1 1:listen1"},
                   // A radio that delivers in batches: what was heard a while ago counts from then.
                   {"new monitor on 9 range 10 frame2 frame40 11 unrange frame7 39",
                    "0:auth0 0:await1 9:listen1 10:range 10:enter 10:state1 11:range-60 38:exit 38:state2 38:await1"},
               });
}

TEST(LiveListening, SurvivesWhatAHostDoesInsideACall) {
  check(false, {
                   {"auth0=drop new 1", "0:auth0 0:stop"},
                   {"new monitor on enter=unmonitor 1 frame 9", "0:auth0 0:await1 1:enter 1:stop"},
                   {"new monitor on enter=silence 1 frame 9", "0:auth0 0:await1 1:enter 1:listen1"},
                   {"new monitor on enter=drop 1 frame 9", "0:auth0 0:await1 1:enter 1:stop"},
                   {"new monitor range on 0.5 frame range=drop+loop 9",
                    "0:auth0 0:await1 0:listen1 0.5:enter 0.5:state1 1:range-60 1:stop"},
                   // What a host wishes in a loop of its own below a call of the radio's waits until that returned.
                   {"new monitor on enter=unmonitor+loop 1 frame 9", "0:auth0 0:await1 1:enter 3:stop"},
                   {"new monitor on enter=elsewhere+loop 1 frame 9", "0:auth0 0:await1 1:enter 1:state1 3:listen2"},
                   {"new monitor on enter=throw 1 frame 2",
                    "0:auth0 0:await1 1:enter 1:log(A callback failed: a host's own) 1:state1 1:listen1"},
                   {"new monitor on leave 1 frame drop 9", "0:auth0 0:await1 1:enter 1:state1 1:listen1 1:stop"},
                   // Two managers of a loop share the radio, and one that goes leaves it to the other.
                   {"new b.new monitor b.monitor on 1 frame drop 2 b.drop 3",
                    "0:auth0 0:b.auth0 0:await1 1:enter 1:state1 1:b.enter 1:b.state1 1:listen1 2:stop"},
                   {"new monitor on enter=b.new 1 frame 2 drop 3 b.drop",
                    "0:auth0 0:await1 1:enter 1:state1 1:b.auth0 1:listen1 2:stop 3:stop"},
               });
}

TEST(LiveListening, PutsConsentTogetherFromRadioAndPositions) {
  check(true, {
                  {"new authorize 1 able 2 granted 3", "0:auth0 0:listen0 0:start10 1:auth3 1:stop 2:halt"},
                  {"new authorize granted able", "0:auth0 0:listen0 0:start10 0:halt 0:auth3 0:stop"},
                  {"new authorize able denied", "0:auth0 0:listen0 0:start10 0:auth3 0:stop 0:auth2why 0:halt"},
                  {"new authorize able restricted", "0:auth0 0:listen0 0:start10 0:auth3 0:stop 0:auth1why"},
                  {"new authorize refused granted", "0:auth0 0:listen0 0:start10 0:auth2no 0:stop 0:halt"},
                  {"new authorize switchedOff able",
                   "0:auth0 0:listen0 0:start10 0:auth0offwhy 0:auth3why 0:auth3offwhy 0:stop"},
                  // What nobody is left to be told waits for the next.
                  {"auth3=drop new authorize switchedOff able 1 new 2",
                   "0:auth0 0:listen0 0:start10 0:auth0offwhy 0:auth3why 0:stop 0:halt 1:auth3why 1:auth3offwhy"},
                  // Authorisation is told by itself before the switch, or an application would not become ready.
                  {"new authorize able switchedOff", "0:auth0 0:listen0 0:start10 0:auth3 0:stop 0:auth3offwhy"},
                  {"new authorize update able granted pending 1 denied granted",
                   "0:auth0 0:listen0 0:start10 0:auth3 0:stop 0:why 1:why 1:auth2why 1:auth3"},
              });
}

TEST(LiveListening, AsksForPositionsAsLongAsTheyAreWanted) {
  check(true,
        {
            {"new b.new b.coarse b.update 1 update 2 drop 3", "0:auth0 0:b.auth0 0:start100 1:start10 2:start100"},
            {"new update 1 @0 2 coarse 3 pause 4", "0:auth0 0:start10 1:at 2:start100 3:halt"},
            {"new authorize able granted 1 update denied 2",
             "0:auth0 0:listen0 0:start10 0:auth3 0:stop 0:halt 1:start10 1:why 1:auth2why"},
            // Each start of detection asks anew, in case the user has changed their mind.
            {"new authorize able denied 1 monitor 2 granted 3 unmonitor monitor 4",
             "0:auth0 0:listen0 0:start10 0:auth3 0:stop 0:auth2why 0:halt 1:await1 1:start10 2:auth3 2:halt 3:stop "
             "3:await1"},
        });
  check(false, {{"new update pause update", "0:auth0 0:there is no source of positions"}});
}

}  // namespace
