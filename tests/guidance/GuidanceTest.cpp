// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "BrivaneSDK/BVAPIResolve.h"
#include "BrivaneSDK/BVLocal.h"
#include "guidance/Connection.h"
#include "guidance/Guide.h"
#include "guidance/Nearby.h"
#include "guidance/Sentences.h"

namespace {

using namespace std::chrono_literals;
using namespace guidance;
using platform::Radio;
using platform::TransferOutcome;

Instant at(int second) { return Instant(std::chrono::seconds(second)); }

std::shared_ptr<const BVAPIResolve> place(const std::string& name) {
  const auto beacon = std::make_shared<BVWaybeacon>();
  beacon->setName(name);
  beacon->setLocation("Left of the door");
  beacon->setAccesibility("Two steps!");
  const auto resolve = std::make_shared<BVAPIResolve>();
  resolve->setUuid("id-" + name);
  resolve->setWaybeacon(beacon);
  return resolve;
}

/// A guide, and what it says: "4:A " for the place A in the fourth second, "4!…" for what is urgent.
class Walk : public Speech {
 public:
  explicit Walk(const Guide::Manner& manner = {.detail = Detail::kName}) { guide.setManner(manner); }

  void say(Utterance utterance) override {
    if (utterance.text.ends_with('.')) utterance.text.pop_back();
    said += std::to_string(second) + (utterance.urgent ? "!" : ":") + utterance.text + " ";
  }
  void stop() override { said += std::to_string(second) + ":stop "; }

  /// One report a second: "9:A5,B12" until the ninth, A at five metres and B at twelve; "A20>4" for one that comes
  /// nearer, a metre a second at most; "A-" for a silent one; "-" for a report without a place. "hush" and "unhush".
  void walk(const std::string& story) {
    std::istringstream words(story);
    for (std::string word; words >> word;) {
      if (word.ends_with("hush")) {
        guide.hush(word == "hush");
        continue;
      }
      const std::size_t colon = word.find(':');
      for (const int begin = second; second < std::stoi(word); ++second) {
        guide.reported(sightings(word.substr(colon + 1), second - begin), at(second));
      }
    }
  }

  int second = 0;
  std::string said;
  Guide guide{*this, [](double, double, std::int64_t) { return false; }, [] {}};

 private:
  static std::vector<Sighting> sightings(const std::string& words, int passed) {
    std::vector<Sighting> list;
    std::istringstream text(words);
    for (std::string word; std::getline(text, word, ',') && word != "-";) {
      Sighting sighting{.place = place(word.substr(0, 1))};
      const std::size_t to = word.find('>');
      if (word[1] != '-') sighting.metres = std::stod(word.substr(1));
      if (to != std::string::npos) {
        sighting.metres = std::max(*sighting.metres - passed, std::stod(word.substr(to + 1)));
      }
      list.push_back(std::move(sighting));
    }
    return list;
  }
};

TEST(Announcements, SayAPlaceOnceAndWhenItMatters) {
  const std::string between = [] {
    std::string story;
    for (int end = 5; end < 600; end += 10) {
      story += std::to_string(end) + ":A5,B6 " + std::to_string(end + 5) + ":B5,A6 ";
    }
    return story;
  }();
  const std::vector<std::pair<std::string, std::string>> stories = {
      {"2:A5", ""},                             // led in two reports
      {"60:A5", "2:A "},                        // standing before it
      {"2:A5 4:B5,A6 60:A5", "6:A "},           // led in three, not in succession
      {"60:A20>4", "15:A "},                    // the middle of three is six
      {"60:A11", "10:A "},                      // passed on the other side of the street
      {"20:A20>9 60:A9", "20:A "},              // no nearer than nine
      {"5:A20 6:A3 7:A20 12:A20>17", ""},       // one reading scatters
      {"60:A-", "9:A "},                        // never measured
      {"12:A5 30:B5,A9", "2:A 14:B "},          // the next one
      {between, "2:A 7:B "},                    // midway between two
      {"9:A5 130:- 139:A5", "2:A 132:A "},      // back after two minutes
      {"9:A5 100:- 109:A5", "2:A "},            // back too soon
      {"9:A5 130:B5,A11 139:A5", "2:A 11:B "},  // never left
      {"9:A5 130:B5,A13 139:A5", "2:A 11:B 132:A "},
      {"hush 9:A5 unhush 19:A5", "0:stop 9:A "},  // true after the call
      {"hush 9:A5 20:- unhush 30:-", "0:stop "},  // not true any more
  };
  for (const auto& [story, said] : stories) {
    Walk walk;
    walk.walk(story);
    EXPECT_EQ(walk.said, said) << story.substr(0, 80);
  }
}

TEST(Places, AreHereUntilTenSecondsOfSilence) {
  Walk walk;
  walk.walk("3:A5 13:-");
  ASSERT_NE(walk.guide.places().here(), nullptr);
  walk.walk("14:-");
  EXPECT_EQ(walk.guide.places().here(), nullptr);
  walk.walk("17:A5");
  walk.guide.began();
  EXPECT_EQ(walk.guide.places().here(), nullptr);
  EXPECT_TRUE(walk.guide.places().around().empty());
}

TEST(Guide, SaysWhatItIsAskedFor) {
  const std::string all = "A. Left of the door. Two steps!";
  const std::vector<std::pair<Guide::Manner, std::string>> manners = {
      {{.detail = Detail::kName}, "2:A 3:A 3:" + all + " "},
      {{.detail = Detail::kWhere}, "2:A. Left of the door 3:A. Left of the door 3:" + all + " "},
      {{.screenReader = true, .detail = Detail::kAll}, "2:" + all + " 3:" + all + " "},
      {{.speaksByItself = false, .detail = Detail::kName}, "0:stop 3:A 3:" + all + " "}};
  for (const auto& [manner, said] : manners) {
    Walk walk(manner);
    walk.guide.sayAgain();
    walk.guide.sayMore();
    walk.walk("3:A5");
    walk.guide.sayAgain();
    walk.guide.sayMore();
    EXPECT_EQ(walk.said, said);
  }
}

/// What becomes wrong and right: "off", "blocked", "on" and so on of the radio; "401" and so on of a request, "lost"
/// for one without an answer, "kept" for one that the store answers; sessions.
void happen(Walk& walk, const std::string& word) {
  static const std::map<std::string, Radio::Status> radio = {
      {"on", {.listening = true}},
      {"off", {.kind = Radio::FaultKind::kSwitchedOff, .fault = "off"}},
      {"blocked", {.kind = Radio::FaultKind::kBlocked, .fault = "blocked"}},
      {"none", {.kind = Radio::FaultKind::kNoAdapter, .fault = "none"}},
      {"stuck", {.kind = Radio::FaultKind::kOther, .fault = "it is stuck"}},
      {"starting", {}}};
  static const std::map<std::string, Session> sessions = {{"ready", Session::kReady},
                                                          {"connecting", Session::kConnecting},
                                                          {"refused", Session::kRefused},
                                                          {"ended", Session::kNotRenewed},
                                                          {"nothing", Session::kNoCredentials}};
  Guide& guide = walk.guide;
  const Instant now = at(walk.second);
  if (radio.contains(word)) return guide.radioChanged(radio.at(word), now);
  if (sessions.contains(word)) return guide.sessionChanged(sessions.at(word), now);
  if (word == "denied") return guide.permissionChanged({.status = platform::kCLAuthorizationStatusDenied}, "no", now);
  if (word == "granted") {
    return guide.permissionChanged({.status = platform::kCLAuthorizationStatusAuthorizedAlways}, "", now);
  }
  if (word == "mute" || word == "voice") return guide.speechChanged(word == "mute" ? "gone" : "", now);
  if (word == "nowhere") return guide.noPositions("off", now);
  if (word == "moved") return guide.moved({.coordinate = {}, .horizontalAccuracy = 5.0}, now);
  TransferOutcome outcome;
  outcome.endpoint = "/resolve/";
  if (word != "lost") outcome.status = word == "kept" ? 200 : std::stoi(word);
  if (word == "kept") outcome.source = TransferOutcome::Source::kStore;
  guide.transferred(outcome, now);
}

TEST(Troubles, AreSaidOnceWhenTheyComeAndWhenTheyGo) {
  const std::string works = "Bluetooth works again";
  const std::vector<std::pair<std::string, std::string>> stories = {
      {"off off on on", "0!Bluetooth is off. Switch it on 2:" + works + " "},
      {"off starting none on",
       "0!Bluetooth is off. Switch it on 2!There is no Bluetooth adapter. Plug one in 3:" + works + " "},
      {"blocked on",
       "0!The device keeps Bluetooth off. End the airplane mode, or use the device's own switch 1:" + works + " "},
      {"stuck", "0!Bluetooth does not listen. It is stuck "},
      {"off on off on", "0!Bluetooth is off. Switch it on 1:" + works + " "},  // not again so soon
      {"lost 200 lost lost 401",
       "3:The network cannot be reached. Known places are still named 4:The network is back "},
      {"200 kept kept kept 200",
       "2:The network cannot be reached. Known places are still named 4:The network is back "},
      {"503 lost lost 200",
       "0:The network's service is out of order. It is tried again by itself 2:The network cannot be reached. Known "
       "places are still named 3:The network is back "},
      {"refused connecting ready",
       "0!The network refuses the credentials. Import a newer file from the network 2:The network accepts the "
       "credentials "},
      {"ended nothing ready",
       "0:The session with the network has ended. It is tried again by itself 1!The network's property list is "
       "missing. "
       "Import the file that the network gave you 2:The property list is there "},
      {"denied granted", "0!This application may not use Bluetooth. Allow it in the settings 1:Bluetooth may be used "},
      {"nowhere moved",
       "0:There are no positions. Switch location on in the settings, and allow it 1:Positions work again "},
      {"mute voice",
       "0:There is no voice. Install or start speech-dispatcher; it is tried again by itself 1:The voice is back "}};
  for (const auto& [story, said] : stories) {
    Walk walk;
    std::istringstream words(story);
    for (std::string word; words >> word; ++walk.second) happen(walk, word);
    EXPECT_EQ(walk.said, said) << story;
  }
}

TEST(Troubles, ShowTheGravestAndHideWhatIsNotHeardAnyMore) {
  Walk walk;
  walk.walk("5:A5");
  for (const char* const word : {"lost", "lost", "off", "mute"}) happen(walk, word);
  EXPECT_EQ(walk.guide.trouble()->kind, TroubleKind::kBluetoothOff);
  EXPECT_EQ(walk.guide.trouble()->remedy, Remedy::kSwitchBluetoothOn);
  EXPECT_EQ(walk.guide.places().here(), nullptr);
  happen(walk, "on");
  EXPECT_EQ(walk.guide.trouble()->kind, TroubleKind::kNoNetwork);
}

/// A service that knows three places, by metres to the east and north of the device.
class Town {
 public:
  using Place = std::pair<double, double>;

  bool ask(double latitude, double longitude, std::int64_t radius) {
    const double east = longitude * kMetres * std::cos(45.0 * M_PI / 180.0);
    const double north = (latitude - 45.0) * kMetres;
    auto list = std::make_shared<BVWaybeaconDistance::List>();
    for (const auto& [name, at] : places) {
      const auto found = std::make_shared<BVWaybeaconDistance>();
      const auto local = std::make_shared<BVLocal>();
      local->setName(name);
      found->setLocal(local);
      found->setDistance(std::round(std::hypot(at.first - east, at.second - north)));
      if (found->distance() <= static_cast<double>(radius)) list->push_back(found);
    }
    answer = list;
    ++asked;
    return hasSession;
  }
  std::string words() const {
    std::string text;
    for (const NearbyPlace& found : nearby.places()) text += *found.local->name() + " " + found.whereText() + "; ";
    return text;
  }

  static constexpr double kMetres = 111'195.0;
  std::map<std::string, Place> places = {{"Inn", {4, 5}}, {"Mill", {-80, -80}}, {"Tower", {480, 0}}, {"Sea", {0, 520}}};
  std::shared_ptr<BVWaybeaconDistance::List> answer;
  int asked = 0;
  bool hasSession = true;
  Nearby nearby{[this](double lat, double lng, std::int64_t radius) { return ask(lat, lng, radius); }};
};

TEST(Nearby, FindsDirectionsFromThreeAnswers) {
  const platform::CLLocation here{.coordinate = {.latitude = 45.0, .longitude = 0.0}, .horizontalAccuracy = 5.0};
  const std::string full =
      "Inn close by to the north-east; Mill 110 metres to the south-west; Tower 480 metres to the east; ";
  const std::string distances = "Inn close by; Mill 110 metres; Tower 480 metres; ";
  // "a": answered, "f": failed, "u": answered with what cannot be read, "m": moved again, "s": a new session.
  const std::vector<std::tuple<std::string, std::string, int>> stories = {
      {"aaa", full, 3},   {"aaf", distances, 3}, {"f", "", 1},  {"umaaa", full, 4},
      {"maaaa", full, 4}, {"aaamaa", full, 6},   {"aa", "", 3}, {"maaf", distances, 3}};
  for (const auto& [story, words, asked] : stories) {
    Town town;
    town.nearby.moved(here);
    for (const char event : story) {
      if (event == 'm') town.nearby.moved(here);
      if (event != 'm') town.nearby.transferred(event != 'f');
      if (event == 'a') town.nearby.found(town.answer);
    }
    EXPECT_EQ(town.words(), words) << story;
    EXPECT_EQ(town.asked, asked) << story;
  }
  Town town;
  town.hasSession = false;
  town.nearby.moved(here);
  town.hasSession = true;
  town.nearby.transferred(false);  // a session begins
  EXPECT_EQ(town.asked, 2);
}

TEST(Sentences, WordDistancesAndDirections) {
  const std::vector<std::pair<double, std::string>> distances = {{9.9, "close by"},       {12, "10 metres"},
                                                                 {98, "100 metres"},      {994, "990 metres"},
                                                                 {996, "1.0 kilometres"}, {1260, "1.3 kilometres"}};
  for (const auto& [metres, words] : distances) EXPECT_EQ(distanceText(metres), words);
  const std::vector<std::pair<double, std::string>> directions = {{0, "to the north"},
                                                                  {22, "to the north"},
                                                                  {23, "to the north-east"},
                                                                  {338, "to the north"},
                                                                  {270, "to the west"}};
  for (const auto& [degrees, words] : directions) EXPECT_EQ(directionText(degrees), words);
}

/// When a connection logs in: "5:login". What happens to it stands behind its second: "ready", or the endpoint of a
/// request with its status, "sync=401"; "=0" for no answer, "=kept" for one of the client's own; "early" for one that
/// was asked three seconds before.
TEST(Connection, LogsInAgainWhenItMust) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"1:token=200 2:sync=200 3:ready", "0:login 3:ready "},
      {"1:token=401 2:sync=401 3:ready", "0:login 1:refused 6:login "},  // an answer is no login
      {"1:token=0 8:token=0 20:token=503 40:token=0", "0:login 6:login 18:login 40:login 80:login "},
      {"1:ready 70:resolve=401 71:token=200 72:ready", "0:login 1:ready 70:connecting 70:login 72:ready "},
      {"1:ready 70:resolve=401 71:token=401", "0:login 1:ready 70:connecting 70:login 71:ended 76:login "},
      {"1:ready 9:resolve=401", "0:login 1:ready 9:connecting 14:login "},  // not again and again
      {"9:ready 11:early=401 12:nearest=500", "0:login 9:ready "},          // with the old token; no refusal
      {"1:token=0 2:again", "0:login 2:login "},
      {"1:ready 2:again", "0:login 1:ready "},
      {"1:token=kept 2:sync=kept 3:ready 9:again 10:token=200 11:ready 12:again", "0:login 3:ready 9:login "},
      {"0:nothing 9:again", "0:login 0:nothing "},
  };
  static const char* const sessions[] = {"connecting", "ready", "nothing", "refused", "ended"};
  for (const auto& [story, told] : cases) {
    Connection connection;
    std::string seen;
    const auto runTo = [&](int second) {
      while (connection.due() && *connection.due() <= at(second)) {
        const Instant login = *connection.due();
        seen += std::to_string(login.time_since_epoch() / 1s) + ":login ";
        connection.loggedIn();
      }
    };
    std::istringstream words(story);
    for (std::string word; words >> word;) {
      const int second = std::stoi(word);
      const std::string event = word.substr(word.find(':') + 1);
      runTo(second);
      const Session before = connection.session();
      if (event == "ready") {
        connection.becomesReady(at(second));
      } else if (event == "again") {
        connection.tryAgain(at(second));
      } else if (event == "nothing") {
        connection.lackCredentials();
      } else {
        const std::string ending = event.substr(event.find('=') + 1);
        TransferOutcome outcome;
        outcome.endpoint = "oauth2/" + event.substr(0, event.find('=')) + "/";
        if (ending != "0") outcome.status = ending == "kept" ? 200 : std::stoi(ending);
        if (ending == "kept") outcome.source = TransferOutcome::Source::kClient;
        if (event.starts_with("early")) outcome.duration = 3s;
        connection.transferred(outcome, at(second));
      }
      if (connection.session() != before) {
        seen += std::to_string(second) + ":" + sessions[static_cast<int>(connection.session())] + " ";
      }
    }
    runTo(100);
    EXPECT_EQ(seen, told) << story;
  }
}

}  // namespace
