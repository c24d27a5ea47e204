#include <gtest/gtest.h>

#include <map>
#include <string>

#include "platform/linux/BlueZDevices.h"
#include "platform/linux/BlueZDiscovery.h"
#include "platform/linux/GeoCluePositions.h"
#include "platform/linux/LocationPermission.h"

namespace {

using namespace std::chrono_literals;
using namespace platform;

Variant parse(const std::string& text) { return Variant(g_variant_ref_sink(g_variant_new_parsed(text.c_str()))); }

/// What a discovery calls at each time at which something happens to it: "3:stop" for a call three seconds
/// after the beginning; a "+" stands behind the time while it listens.
class Story {
 public:
  using Outcome = BlueZDiscovery::Outcome;

  explicit Story(std::map<std::string, Outcome> outcomes) : outcomes_(std::move(outcomes)) {}

  Story& usable(bool usable, Instant at) {
    passUntil(at);
    discovery_.setUsable(usable, at);
    return settle(at);
  }
  Story& hear(Instant at) {
    passUntil(at);
    discovery_.hear(at);
    return settle(at);
  }
  Story& discovering(bool discovering, Instant at) {
    passUntil(at);
    discovery_.setDiscovering(discovering, at);
    return settle(at);
  }
  /// BlueZ never says that it discovers.
  Story& saysNothing() {
    saysSo_ = false;
    return *this;
  }
  Story& succeed() {
    outcomes_.clear();
    return *this;
  }
  std::string until(Instant end) {
    passUntil(end);
    return told_;
  }

 private:
  void passUntil(Instant end) {
    for (auto due = discovery_.deadline(); due && *due <= end; due = discovery_.deadline()) settle(*due);
  }
  Story& settle(Instant now) {
    static const std::map<BlueZDiscovery::Call, std::string> names = {
        {BlueZDiscovery::Call::kSetFilter, "filter"},
        {BlueZDiscovery::Call::kStart, "start"},
        {BlueZDiscovery::Call::kStop, "stop"},
        {BlueZDiscovery::Call::kRenewConnection, "renew"}};
    while (const auto call = discovery_.next(now)) {
      const std::string& name = names.at(*call);
      told_ += std::to_string(now / 1s) + ":" + name + " ";
      if (name == "renew") {
        discovery_.setUsable(false, now);
        discovery_.setUsable(true, now);
      } else {
        discovery_.finish(outcomes_.contains(name) ? outcomes_.at(name) : Outcome::kDone, now);
        if (name == "start" && saysSo_) discovery_.setDiscovering(true, now);
      }
      if (discovery_.isListening()) told_ += "+ ";
    }
    return *this;
  }

  std::map<std::string, Outcome> outcomes_;
  bool saysSo_ = true;
  BlueZDiscovery discovery_;
  std::string told_;
};

TEST(BlueZDiscovery, KeepsItselfRunning) {
  using Outcome = Story::Outcome;
  // Nothing without power; the filter first, then the start; gone with the power and back with it.
  EXPECT_EQ(Story({}).usable(true, 1s).hear(5s).usable(false, 7s).usable(true, 9s).until(18s),
            "1:filter 1:start + 9:filter 9:start + ");
  // Silence: stop and start, then a new connection each time, twice as long apart, at most 320 seconds.
  EXPECT_EQ(Story({}).usable(true, 0s).until(1000s),
            "0:filter 0:start + 10:stop 10:filter 10:start + 30:renew 30:filter 30:start + "
            "70:renew 70:filter 70:start + 150:renew 150:filter 150:start + 310:renew 310:filter 310:start + "
            "630:renew 630:filter 630:start + 950:renew 950:filter 950:start + ");
  // Something heard ends that.
  EXPECT_EQ(Story({}).usable(true, 0s).hear(29s).hear(35s).until(46s),
            "0:filter 0:start + 10:stop 10:filter 10:start + 45:stop 45:filter 45:start + ");
  // BlueZ's word that it stopped is checked soon, unless something is heard.
  EXPECT_EQ(Story({}).usable(true, 0s).discovering(false, 1s).until(4s),
            "0:filter 0:start + 3:stop 3:filter 3:start + ");
  EXPECT_EQ(Story({}).usable(true, 0s).discovering(false, 1s).hear(2s).until(11s), "0:filter 0:start + ");
  EXPECT_EQ(Story({}).saysNothing().usable(true, 0s).until(20s),
            "0:filter 0:start + 2:stop 2:filter 2:start + 6:renew 6:filter 6:start + 14:renew 14:filter 14:start + ");
  // An answer that is lost: on a new connection.
  EXPECT_EQ(Story({{"start", Outcome::kLost}}).usable(true, 3s).succeed().until(4s),
            "3:filter 3:start 3:renew 3:filter 3:start + ");
  // What a stop answers is of no interest.
  EXPECT_EQ(Story({{"stop", Outcome::kFailed}}).usable(true, 0s).discovering(false, 0s).until(2s),
            "0:filter 0:start + 2:stop 2:filter 2:start + ");
  // Busy: each half second, after ten a new connection.
  const std::string busy = Story({{"start", Outcome::kBusy}}).usable(true, 0s).until(10s);
  EXPECT_EQ(busy.substr(0, 54), "0:filter 0:start 0:filter 0:start 1:filter 1:start 1:f");
  EXPECT_TRUE(busy.ends_with("9:filter 9:start 10:renew 10:filter 10:start ")) << busy;
  // Refused: seldom. Failed: ever more seldom.
  EXPECT_EQ(Story({{"filter", Outcome::kRefused}}).usable(true, 0s).until(60s), "0:filter 30:filter 60:filter ");
  EXPECT_EQ(Story({{"start", Outcome::kFailed}}).usable(true, 0s).succeed().until(9s),
            "0:filter 0:start 0:filter 0:start + ");
  EXPECT_EQ(Story({{"filter", Outcome::kFailed}}).usable(true, 0s).until(50s),
            "0:filter 0:filter 1:filter 3:filter 7:filter 15:filter 31:filter 47:filter ");
}

TEST(BlueZDevices, CountsSightingsAndNothingElse) {
  const std::string uuid = "0x5c,0x8e,0x3d,0x7a,0x41,0xb2,0x4f,0x60,0x9e,0x0b,0x27,0xd1,0xa6,0xc4,0xf3,0x85";
  const std::string frame = "[byte 0x02,0x15," + uuid + ",0,1,0,2,0xc5]";
  const auto data = [](const std::string& entries) { return "'ManufacturerData': <@a{qv} {" + entries + "}>"; };
  const std::string good = data("76: <" + frame + ">");
  struct Row {
    const char* what;
    std::string changed;
    std::string invalidated;
    std::string heard;
  };
  const Row rows[] = {
      {"both, as BlueZ sends each frame", good + ", 'RSSI': <int16 -60>", "", "-60"},
      {"the same again", good + ", 'RSSI': <int16 -60>", "", "-60"},
      {"only the strength", "'RSSI': <int16 -61>", "", "-61"},
      {"only the frame", good, "", "-61"},
      {"the end of discovery", "", "'RSSI', 'TxPower'", ""},
      {"a frame behind that", good, "", "0"},
      {"something else", "'Connected': <true>", "", ""},
      {"a strength of the wrong type", "'RSSI': <'-60'>", "", ""},
      {"another company beside", data("6: <[byte 1]>, 76: <" + frame + ">"), "", "0"},
      {"another company alone", data("6: <" + frame + ">"), "", ""},
      {"a strength behind that", "'RSSI': <int16 -62>", "", ""},
      {"a frame too short", data("76: <[byte 2, 0x15, 1]>"), "", ""},
      {"data of the wrong type", data("76: <'text'>"), "", ""},
      {"no data", data(""), "", ""},
      {"another type altogether", "'ManufacturerData': <'text'>", "", ""},
  };
  BlueZDevices devices;
  const std::string path = "/org/bluez/hci0/dev_C0_01_02_0A_0b_FF";
  const auto textOf = [](const std::optional<Advertisement>& heard) {
    return heard ? std::to_string(heard->rssi) : "";
  };
  for (const Row& row : rows) {
    const auto heard =
        devices.change(path, parse("@a{sv} {" + row.changed + "}").get(), parse("@as [" + row.invalidated + "]").get());
    EXPECT_EQ(textOf(heard), row.heard) << row.what;
    if (!heard) continue;
    EXPECT_EQ(heard->data.size(), 23U);
    EXPECT_EQ(heard->address, (std::array<std::uint8_t, 6>{0xC0, 1, 2, 10, 11, 255}));
  }
  const Variant found = parse("{" + good + ", 'RSSI': <int16 -50>}");
  const Variant stronger = parse("{'RSSI': <int16 -49>}");
  const Variant none = parse("@as []");
  devices.know(path, found.get());
  EXPECT_EQ(textOf(devices.change(path, stronger.get(), none.get())), "-49");
  devices.forget(path);
  EXPECT_FALSE(devices.change(path, stronger.get(), none.get()));
  EXPECT_EQ(textOf(devices.find(path, found.get())), "-50");
  EXPECT_FALSE(devices.find("/x", parse("@a{sv} {}").get()));
  EXPECT_EQ(devices.find("/org/bluez/hci0/dev_nonsense_here", found.get())->address, (std::array<std::uint8_t, 6>{}));
}

TEST(Permission, FollowsWhatIsGranted) {
  using Grant = PositionGrant;
  struct Row {
    bool withPositions;
    bool asked;
    std::optional<bool> bluetoothRefused;
    Grant positions;
    int status;
    bool enabled;
  };
  const Row rows[] = {
      {false, false, false, Grant::kPending, 0, true}, {false, true, std::nullopt, Grant::kPending, 0, true},
      {false, true, false, Grant::kPending, 3, true},  {false, true, true, Grant::kPending, 2, true},
      {true, true, false, Grant::kPending, 0, true},   {true, true, false, Grant::kGranted, 3, true},
      {true, true, false, Grant::kDenied, 2, true},    {true, true, false, Grant::kRestricted, 1, true},
      {true, true, true, Grant::kGranted, 2, true},    {true, true, false, Grant::kSwitchedOff, 3, false},
  };
  for (const Row& row : rows) {
    LocationPermission permission(row.withPositions);
    if (row.asked) permission.ask();
    if (row.bluetoothRefused) permission.setBluetoothRefused(*row.bluetoothRefused);
    permission.setPositions(row.positions);
    permission.setPositions(Grant::kPending);  // nothing new
    EXPECT_EQ(permission.current().status, row.status) << &row - rows;
    EXPECT_EQ(permission.current().servicesEnabled, row.enabled) << &row - rows;
  }
}

TEST(GeoClue, ReadsRefusalsAndPositions) {
  const std::string denied = "org.freedesktop.DBus.Error.AccessDenied";
  struct Row {
    std::string error;
    const char* message;
    PositionGrant grant;
  };
  const Row rows[] = {
      {denied, "'brivane' disallowed by configuration for UID 1000", PositionGrant::kRestricted},
      {denied, "'brivane' disallowed, no agent for UID 1000", PositionGrant::kRestricted},
      {denied, "Geolocation disabled for UID 1000", PositionGrant::kSwitchedOff},
      {denied, "Access denied", PositionGrant::kDenied},
      {"org.freedesktop.DBus.Error.ServiceUnknown", "not provided", PositionGrant::kSwitchedOff},
      {"org.freedesktop.DBus.Error.NoReply", "timeout", PositionGrant::kPending},
      {"", "no bus", PositionGrant::kSwitchedOff},
  };
  for (const Row& row : rows) EXPECT_EQ(positionGrantOf(row.error, row.message), row.grant) << row.message;
  const auto read = [](const std::string& properties) {
    return positionIn(parse("@a{sv} {" + properties + "}").get(), 1'000'000'000);
  };
  const std::string place = "'Latitude': <41.5>, 'Longitude': <-4.7>, 'Accuracy': <12.0>";
  const auto position = read(place + ", 'Timestamp': <(uint64 970, uint64 5)>");
  ASSERT_TRUE(position);
  EXPECT_EQ(position->coordinate.latitude, 41.5);
  EXPECT_EQ(position->coordinate.longitude, -4.7);
  EXPECT_EQ(position->horizontalAccuracy, 12.0);
  EXPECT_TRUE(read(place + ", 'Timestamp': <(uint64 99999, uint64 0)>"));  // a clock ahead of ours
  EXPECT_TRUE(read(place));
  EXPECT_FALSE(read(place + ", 'Timestamp': <(uint64 969, uint64 0)>"));
  EXPECT_FALSE(read("'Latitude': <41.5>, 'Longitude': <-4.7>"));
  EXPECT_FALSE(read("'Latitude': <95.0>, 'Longitude': <-4.7>, 'Accuracy': <12.0>"));
  EXPECT_FALSE(read("'Latitude': <'x'>, 'Longitude': <-4.7>, 'Accuracy': <12.0>"));
}

}  // namespace
