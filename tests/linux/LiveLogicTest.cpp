// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>

#include "platform/linux/AdapterChoice.h"
#include "platform/linux/BlueZDevices.h"
#include "platform/linux/DiscoverySchedule.h"
#include "platform/linux/GeoCluePositions.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/RadioBlock.h"
#include "platform/linux/RadioFault.h"
#include "testing/contracts/EventLoopContract.h"
#include "tests/support/OwnContext.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
using namespace brivane::testing;
using namespace platform;

struct GLib {
  static std::shared_ptr<EventLoop> loop() { return std::make_shared<MainContext>(MainContext::ofThisThread()); }
  void runUntil(const std::function<bool()>& done) const { context.runUntil(done); }
  const OwnContext context;
};
INSTANTIATE_TYPED_TEST_SUITE_P(GLib, EventLoopContract, GLib);

Variant parse(const std::string& text) { return Variant(g_variant_ref_sink(g_variant_new_parsed(text.c_str()))); }

/// What a discovery calls while events happen to it: "3:stop" for a call three seconds after the beginning; a "+"
/// stands behind a call since which it listens, a "!" behind one since which it is stuck. An event stands behind its
/// second as well: the adapter is "on" or "off", something is "heard", BlueZ says that it is "idle". "start=busy" is
/// how each start ends from there on; after a start that is "quiet" BlueZ does not say that it discovers.
class Story {
 public:
  std::string tell(const std::string& events) {
    std::istringstream words(events);
    for (std::string word; words >> word;) {
      const std::size_t equals = word.find('=');
      if (equals != std::string::npos) {
        endings_[word.substr(0, equals)] = word.substr(equals + 1);
      } else {
        happen(word.substr(word.find(':') + 1), Instant(std::chrono::seconds(std::stoi(word))));
      }
    }
    return told_;
  }

 private:
  void happen(const std::string& event, Instant at) {
    for (auto due = discovery_.deadline(); due && *due <= at; due = discovery_.deadline()) settle(*due);
    if (event == "on" || event == "off") discovery_.setUsable(event == "on", at);
    if (event == "heard") discovery_.hear(at);
    if (event == "idle") discovery_.setDiscovering(false, at);
    settle(at);
  }
  void settle(Instant now) {
    using Outcome = DiscoverySchedule::Outcome;
    static const std::map<std::string, Outcome> outcomes = {
        {"", Outcome::kDone},     {"quiet", Outcome::kDone},      {"busy", Outcome::kBusy},
        {"lost", Outcome::kLost}, {"refused", Outcome::kRefused}, {"failed", Outcome::kFailed}};
    static const char* const names[] = {"filter", "start", "stop", "renew"};
    while (const auto call = discovery_.next(now)) {
      const std::string name = names[static_cast<int>(*call)];
      told_ += std::to_string(now.time_since_epoch() / 1s) + ":" + name + " ";
      if (name == "renew") {
        discovery_.setUsable(false, now);
        discovery_.setUsable(true, now);
        continue;
      }
      discovery_.finish(outcomes.at(endings_[name]), now);
      if (name == "start" && endings_[name].empty()) discovery_.setDiscovering(true, now);
      if (discovery_.isListening()) told_ += "+ ";
      if (std::exchange(stuck_, discovery_.isStuck()) != discovery_.isStuck()) told_ += stuck_ ? "! " : "";
    }
  }

  std::map<std::string, std::string> endings_;
  DiscoverySchedule discovery_;
  bool stuck_ = false;
  std::string told_;
};

TEST(DiscoverySchedule, KeepsItselfRunning) {
  const std::pair<const char*, const char*> rows[] = {
      // Nothing without power; the filter first, then the start; gone with the power and back with it.
      {"1:on 5:heard 7:off 9:on 18:end", "1:filter 1:start + 9:filter 9:start + "},
      // Silence: stop and start, then a new connection each time, twice as long apart, at most 320 seconds.
      {"0:on 1000:end",
       "0:filter 0:start + 10:stop 10:filter 10:start + 30:renew 30:filter 30:start + "
       "70:renew 70:filter 70:start + 150:renew 150:filter 150:start + 310:renew 310:filter 310:start + "
       "630:renew 630:filter 630:start + 950:renew 950:filter 950:start + "},
      // Something heard ends that.
      {"0:on 29:heard 35:heard 66:end",
       "0:filter 0:start + 10:stop 10:filter 10:start + 45:stop 45:filter 45:start + 65:renew 65:filter 65:start + "},
      // BlueZ's word that it stopped is checked soon, unless something is heard.
      {"0:on 1:idle 4:end", "0:filter 0:start + 3:stop 3:filter 3:start + "},
      {"0:on 1:idle 2:heard 11:end", "0:filter 0:start + "},
      {"start=quiet 0:on 7:end", "0:filter 0:start + 2:stop 2:filter 2:start + 6:renew 6:filter 6:start + "},
      // An answer that is lost: on a new connection. What a stop answers is of no interest.
      {"start=lost 3:on start= 4:end", "3:filter 3:start 3:renew 3:filter 3:start + "},
      // Stuck when that goes on, until a start succeeds or the adapter goes.
      {"start=lost 0:on 1:off 2:on 3:end start= 4:end",
       "0:filter 0:start 0:renew 0:filter 0:start 1:renew 1:filter 1:start ! "
       "2:filter 2:start 2:renew 2:filter 2:start 3:renew 3:filter 3:start ! 3:renew 3:filter 3:start + "},
      {"stop=failed 0:on 0:idle 2:end", "0:filter 0:start + 2:stop 2:filter 2:start + "},
      // Refused: seldom. Failed: ever more seldom.
      {"filter=refused 0:on 60:end", "0:filter 30:filter 60:filter "},
      {"filter=failed 0:on 50:end", "0:filter 0:filter 1:filter 3:filter 7:filter 15:filter 31:filter 47:filter "},
  };
  for (const auto& [events, told] : rows) EXPECT_EQ(Story().tell(events), told) << events;
  // Busy: each half second, after ten a new connection.
  const std::string busy = Story().tell("start=busy 0:on 10:end");
  EXPECT_TRUE(busy.starts_with("0:filter 0:start 0:filter 0:start 1:filter 1:start 1:f")) << busy;
  EXPECT_TRUE(busy.ends_with("9:filter 9:start ! 10:renew 10:filter 10:start ")) << busy;
}

/// Which adapter serves, each time that changes, "-" for none: while adapters come or change ("0=A+" is hci0 with
/// address A and power, "0=A-" without), go ("0="), are all gone with the daemon ("gone"), or the one that serves has
/// "heard".
std::string choices(const std::string& wanted, const std::string& events) {
  AdapterChoice adapters(wanted);
  std::string serving;
  std::string told;
  std::istringstream words(events);
  for (std::string word; words >> word;) {
    const std::string path = "/org/bluez/hci" + word.substr(0, 1);
    if (word == "gone") {
      adapters.removeAll();
    } else if (word == "heard") {
      adapters.prove(serving);
    } else if (word.size() == 2) {
      adapters.remove(path);
    } else {
      adapters.at(path) = {.address = word.substr(2, 1), .powered = word.ends_with('+')};
    }
    const std::string now = adapters.choose();
    if (std::exchange(serving, now) != now) told += now.empty() ? "-" : now.substr(now.size() - 1);
  }
  return told;
}

TEST(AdapterChoice, PrefersPowerAndKnowsAnAdapterByItsAddress) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"", "0=A- 1=B+ 0=A+ 0= 1=", "0101-"},           // power counts first, then the order
      {"", "0=A+ 1=B+ 0= heard 0=A+", "01"},           // the one that has heard goes on
      {"", "0=A+ 1=B+ heard gone 0=B+ 1=A+", "0-01"},  // and is found under another name
      {"", "0=A+ heard 1=B+ 0=A-", "01"},              // unless it has no power
      {"hci1", "0=A+ 1=B- 1=", "1-"},                  // the chosen one and no other, with power or without
      {"b", "0=A+ 1=B+ 1=", "1-"},
      {"hci1", "1=B+ gone 0=B- 1=A+ 0=", "1-01"},  // wherever it is
  };
  for (const auto& [wanted, events, told] : rows) EXPECT_EQ(choices(wanted, events), told) << wanted << ": " << events;
}

TEST(RadioFault, GivesAdviceThatWorks) {
  const TemporaryFolder folder;
  const auto put = [&](const std::string& control, const std::map<std::string, std::string>& files) {
    std::filesystem::create_directory(folder.path() / control);
    for (const auto& [name, word] : files) std::ofstream(folder.path() / control / name) << word << "\n";
  };
  put("rfkill0", {{"type", "bluetooth"}, {"name", "hci0"}, {"soft", "0"}, {"hard", "1"}});
  put("rfkill1", {{"type", "bluetooth"}, {"name", "hci1"}, {"soft", "1"}, {"hard", "0"}});
  put("rfkill2", {{"type", "bluetooth"}, {"name", "hci2"}, {"soft", "0"}, {"hard", "0"}});
  put("rfkill3", {{"type", "wlan"}, {"name", "phy0"}, {"soft", "1"}, {"hard", "0"}});
  const auto adviceFor = [&](const std::string& adapter) {
    const RadioFault fault = faultOf(
        {.stage = BlueZConnection::Stage::kKnown, .adapter = adapter, .block = radioBlockOf(adapter, folder.path())});
    return std::to_string(static_cast<int>(fault.kind)) + fault.text.substr(fault.text.find("; "));
  };
  EXPECT_EQ(adviceFor("hci0"), "3; switch it on there");
  EXPECT_EQ(adviceFor("hci1"), "3; end the airplane mode, or unblock it (rfkill unblock bluetooth)");
  EXPECT_EQ(adviceFor("hci2"), "2; switch it on (bluetoothctl power on)");
  std::filesystem::remove_all(folder.path() / "rfkill0");
  EXPECT_EQ(adviceFor(""), "3; end the airplane mode, or unblock it (rfkill unblock bluetooth)");
  std::filesystem::remove_all(folder.path() / "rfkill1");
  EXPECT_EQ(adviceFor(""), "1; plug it in, or load its driver");
  EXPECT_EQ(radioBlockOf("", folder.path() / "absent"), RadioBlock::kNone);
}

TEST(BlueZDevices, CountsSightingsAndNothingElse) {
  const std::string frame =
      "<[byte 0x02,0x15,0x5c,0x8e,0x3d,0x7a,0x41,0xb2,0x4f,0x60,0x9e,0x0b,0x27,0xd1,0xa6,0xc4,0xf3,0x85,0,1,0,2,0xc5]>";
  const auto data = [](const std::string& entries) { return "'ManufacturerData': <@a{qv} {" + entries + "}>"; };
  const std::string good = data("76: " + frame);
  BlueZDevices devices;
  const std::string path = "/org/bluez/hci0/dev_C0_01_02_0A_0b_FF";
  const auto textOf = [](const std::optional<Advertisement>& heard) {
    return heard ? std::to_string(heard->rssi) + "/" + std::to_string(heard->address[3]) : "";
  };
  const auto change = [&](const std::string& changed, const std::string& invalidated) {
    return textOf(
        devices.change(path, parse("@a{sv} {" + changed + "}").get(), parse("@as [" + invalidated + "]").get()));
  };
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {good + ", 'RSSI': <int16 -60>", "", "-60/10"},
      {"'RSSI': <int16 -61>", "", "-61/10"},
      {good, "", "-61/10"},
      {"", "'RSSI', 'TxPower'", ""},  // the end of discovery
      {good, "", "0/10"},
      {"'Connected': <true>", "", ""},
      {data("6: <[byte 1]>, 76: " + frame), "", "0/10"},
      {data("6: " + frame), "", ""},
      {"'RSSI': <int16 -62>", "", ""},  // nothing is left that it could be of
  };
  for (const auto& [changed, invalidated, heard] : rows) EXPECT_EQ(change(changed, invalidated), heard) << changed;
  const Variant found = parse("{" + good + ", 'RSSI': <int16 -50>}");
  EXPECT_EQ(textOf(devices.find(path, found.get())), "-50/10");
  devices.forget(path);
  EXPECT_EQ(change("'RSSI': <int16 -49>", ""), "");
  EXPECT_EQ(textOf(devices.find("/org/bluez/hci0/dev_nonsense_here", found.get())), "-50/0");
}

TEST(GeoClue, ReadsRefusalsAndPositions) {
  const auto grantOf = [](const std::string& error, const std::string& message) {
    return refusalOf("org.freedesktop.DBus.Error." + error, message).grant;
  };
  EXPECT_EQ(grantOf("AccessDenied", "disallowed by configuration"), PositionGrant::kRestricted);
  EXPECT_EQ(grantOf("AccessDenied", "disallowed, no agent"), PositionGrant::kRestricted);
  EXPECT_EQ(grantOf("AccessDenied", "Geolocation disabled"), PositionGrant::kSwitchedOff);
  EXPECT_EQ(grantOf("AccessDenied", "Access denied"), PositionGrant::kDenied);
  EXPECT_EQ(grantOf("ServiceUnknown", ""), PositionGrant::kSwitchedOff);
  EXPECT_EQ(grantOf("Spawn.ServiceNotFound", ""), PositionGrant::kSwitchedOff);
  EXPECT_EQ(grantOf("NoReply", ""), PositionGrant::kPending);
  const auto read = [](const std::string& properties) {
    const auto position = positionIn(parse("{" + properties + "}").get(), 1'000'000'000);
    return position ? position->coordinate.latitude * 1000 + position->horizontalAccuracy : 0;
  };
  const std::string place = "'Latitude': <41.5>, 'Longitude': <-4.7>, 'Accuracy': <12.0>";
  EXPECT_EQ(read(place), 41512);
  EXPECT_EQ(read(place + ", 'Timestamp': <(uint64 970, uint64 5)>"), 41512);
  EXPECT_EQ(read(place + ", 'Timestamp': <(uint64 99999, uint64 0)>"), 41512);  // a clock ahead of ours
  EXPECT_EQ(read(place + ", 'Timestamp': <(uint64 969, uint64 0)>"), 0);
  EXPECT_EQ(read("'Latitude': <41.5>, 'Longitude': <-4.7>"), 0);
  EXPECT_EQ(read("'Latitude': <41.5>, 'Longitude': <-184.7>, 'Accuracy': <12.0>"), 0);
}

}  // namespace
