// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "platform/replay/BtsnoopReader.h"
#include "platform/replay/BtsnoopWriter.h"
#include "platform/replay/CaptureError.h"
#include "platform/replay/GpxTrack.h"
#include "platform/replay/LockstepHTTPClient.h"
#include "platform/replay/ReplayLocationService.h"
#include "testing/BeaconFrame.h"
#include "testing/RecordingLocationDelegate.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
using namespace brivane::testing;
using namespace platform;

/// What was said behind the file's name.
std::string faultOf(const std::function<void()>& deed) {
  try {
    deed();
  } catch (const CaptureError& fault) {
    const std::string what = fault.what();
    return what.substr(what.find(": ") + 2);
  }
  return "";
}

/// What stands in a capture, an advertisement a word, and the fault that it ends with: its second, and the company,
/// how many bytes and the last of them, the strength and the address's last byte.
std::string contentsOf(const std::string& path) {
  std::ostringstream text;
  const std::string fault = faultOf([&] {
    BtsnoopReader reader(path);
    while (const auto record = reader.next()) {
      for (const Advertisement& heard : record->advertisements) {
        text << record->time.time_since_epoch() / 1s << ':' << heard.company << '.' << heard.data.size() << '.'
             << +heard.data.back() << '.' << heard.rssi << '.' << +heard.address[5] << ' ';
      }
    }
  });
  return text.str() + fault;
}

std::string hex(std::uint64_t value, int digits) {
  std::ostringstream text;
  text << std::hex << std::setfill('0') << std::setw(digits) << value;
  return text.str();
}

// Parts of captures, in hexadecimal.

std::string header(int datalink) { return "6274736e6f6f700000000001" + hex(static_cast<unsigned>(datalink), 8); }

std::string record(unsigned flags, const std::string& packet, std::uint64_t second = 1) {
  const std::string size = hex(packet.size() / 2, 8);
  return size + size + hex(flags, 8) + hex(0, 8) + hex(0x00DCDDB30F2F8000 + second * 1'000'000, 16) + packet;
}

std::string legacy(const std::string& data) {
  const std::string body = "02010000050403020100" + hex(data.size() / 2, 2) + data + "ba";
  return "3e" + hex(body.size() / 2, 2) + body;
}

const std::string kData = "02010604ff4c0007";

std::string extended(const std::string& type) {
  return "3e220d01" + type + "000005040302010000000000ba" + hex(0, 18) + "08" + kData;
}

TEST(Btsnoop, ReadsEveryFramingAndNamesTheFaultAndItsPlace) {
  const TemporaryFolder folder;
  const std::string heard = "1:76.1.7.-70.5 ";
  const std::string good = header(2001) + record(0x10003, legacy(kData));
  const std::pair<std::string, std::string> rows[] = {
      {good, heard},
      {header(1001) + record(2, legacy(kData)) + record(3, extended("00")), heard},
      {header(1002) + record(2, "01030c00") + record(3, "04" + legacy(kData)), heard},
      {header(2001) + record(2, legacy(kData)) + record(3, "0e0401030c00") + record(3, extended("00")), heard},
      {header(2001) + record(3, extended("20")), ""},  // in pieces
      // The clock goes back.
      {header(2001) + record(3, legacy(kData)) + record(3, legacy(kData), 0), heard + heard},
      // What the air malforms: no whole company, past the end, an early end.
      {header(2001) + record(3, legacy("02ff01")), ""},
      {header(2001) + record(3, legacy("04ff4c000709ff0200")), heard},
      {header(2001) + record(3, legacy("0004ff4c0007")), ""},
      {"70" + header(2001).substr(2), "byte 0: not a btsnoop capture"},
      {"6274736e6f6f700000000002000007d1", "byte 8: not version 1 of btsnoop"},
      {header(1003), "byte 12: datalink 1003 is none of 1001, 1002 and 2001"},
      {good + hex(0, 10), heard + "byte 62: the file ends inside a record's header"},
      {good + record(3, "3e00").substr(0, 50), heard + "byte 62: the file ends inside a record"},
      {good + "ffffffffffffffff" + hex(0, 32), heard + "byte 62: a record of 4294967295 bytes cannot be"},
      {good + record(3, "3e", 1'000'000'000'000), heard + "byte 62: a record of such a time cannot be"},
      {good + record(3, "3e7f02"), heard + "byte 62: an HCI event's length is not that of its record"},
      {good + record(3, "3e03020501"), heard + "byte 62: an HCI event ends inside a field"},
  };
  for (const auto& [capture, contents] : rows) {
    std::string bytes;
    for (std::size_t i = 0; i < capture.size(); i += 2) {
      bytes += static_cast<char>(std::stoi(capture.substr(i, 2), nullptr, 16));
    }
    EXPECT_EQ(contentsOf(folder.write("a.btsnoop", bytes)), contents) << capture;
  }
}

TEST(Gpx, ReadsPointsByTimeOrNamesTheFault) {
  const TemporaryFolder folder;
  const auto read = [&folder](const std::string& points) {
    std::ostringstream text;
    const std::string fault = faultOf([&] {
      const std::string file = "<gpx><trk><trkseg>" + points + "</trkseg></trk></gpx>";
      for (const auto& [time, at] : readGpxTrack(folder.write("t.gpx", file))) {
        text << time.time_since_epoch().count() << ':' << at.coordinate.latitude << '/' << at.horizontalAccuracy << ' ';
      }
    });
    return text.str() + fault;
  };
  const std::string point = R"(<trkpt lat="1" lon="2"><time>)";
  EXPECT_EQ(read(point + R"(2026-05-09T12:00:01+01:30</time><hdop>2</hdop></trkpt>
                            <trkpt lat="-1.5" lon="2"><time>2026-05-09T10:00:00.25Z</time></trkpt>)"),
            "1778320800250000:-1.5/5 1778322601000000:1/10 ");
  for (const char* time : {"2026-05-09", "2026-02-30T10:00:00Z", "2026-05-09T24:00:00Z", "2026-05-09T10:00:00Zx"}) {
    EXPECT_EQ(read(point + time + "</time></trkpt>"), "byte 19: a track point without a time") << time;
  }
  for (const char* where : {R"(<trkpt lat="1,5" lon="2"/>)", R"(<trkpt lat="91" lon="2"/>)", R"(<trkpt lon="2"/>)"}) {
    EXPECT_EQ(read(where), "byte 19: a track point without a latitude and a longitude") << where;
  }
  EXPECT_EQ(faultOf([&] { readGpxTrack(folder.write("t.gpx", "<kml/>")); }), "byte 0: not a GPX file");
  EXPECT_EQ(faultOf([] { readGpxTrack("/nowhere/t.gpx"); }), "No such file or directory");
}

class Replay : public testing::Test {
 protected:
  Replay() {
    BtsnoopWriter writer(capture);
    constexpr UTCTime kMorning(1778320800s);  // 2026-05-09 10:00:00
    Advertisement beacon = networkFrame(1, 2, -70);
    beacon.address = {0xC0, 1, 2, 3, 4, 5};
    writer.write(beacon, kMorning + 1s);
    writer.write(beacon, kMorning + 1500ms);
    writer.write({.company = 1, .data = std::vector<std::uint8_t>(28), .rssi = -1}, kMorning + 2s);
    writer.write(networkFrame(1, 2, -60), kMorning + 2500ms);
    EXPECT_EQ(writer.count(), 3U);  // one is too long for a report
  }

  /// What is heard in a replay, and the fault that it ends with.
  std::string play(std::optional<double> speed, std::optional<Duration> limit = std::nullopt,
                   std::function<void()> waitUntilIdle = nullptr) {
    const std::string track = R"(<gpx><trk><trkseg><trkpt lat="7" lon="2"><time>2026-05-09T10:00:00Z</time></trkpt>
                                 <trkpt lat="8" lon="2"><time>2026-05-09T10:01:00Z</time></trkpt></trkseg></trk></gpx>)";
    ReplayLocationService replay(
        {capture, folder.write("w.gpx", track), speed, std::move(waitUntilIdle), nullptr, nullptr});
    running = &replay;
    const auto journal = std::make_shared<Journal>();
    const auto walker = std::make_shared<RecordingLocationDelegate>(journal);
    walker->setPrefix([&replay] { return std::to_string(replay.now().time_since_epoch() / 1s) + ":"; });
    const auto region = CLBeaconRegion::initWithProximityUUID_identifier(networkUUID(), "r");
    walker->onCall([&region](auto& manager, auto& call) {
      if (call == "enter") manager.startRangingBeaconsInRegion(region);
    });
    const auto manager = replay.createManager();
    manager->setDelegate(walker);
    manager->startMonitoringForRegion(region);
    manager->startUpdatingLocation();
    const std::string fault = faultOf([&] { replay.run(limit); });
    running = nullptr;
    return journal->take(" ") + fault;
  }

  const TemporaryFolder folder;
  const std::string capture = folder.path() / "w.btsnoop";
  std::atomic<ReplayLocationService*> running = nullptr;
  const std::string heard = "0:auth3 0:at 1:enter 1:state1 2:range-70 3:range-60";
};

TEST_F(Replay, IsTheSameAtEverySpeed) {
  EXPECT_EQ(play(std::nullopt, 3s), heard);
  EXPECT_EQ(play(50.0, 3s), heard);
  EXPECT_NE(play(std::nullopt).find(" 60:at"), std::string::npos);
  EXPECT_EQ(play(std::nullopt, 2s), "0:auth3 0:at 1:enter 1:state1 2:range-70");
  EXPECT_EQ(contentsOf(capture), "1778320801:76.23.197.-70.5 1778320801:76.23.197.-70.5 1778320802:76.23.197.-60.0 ");
  std::ofstream(capture, std::ios::app) << "cut";
  EXPECT_TRUE(play(std::nullopt).starts_with(heard + "byte "));
}

TEST_F(Replay, WaitsBeforeTheClockMovesAndStopsWhenTold) {
  std::string waits;
  const auto wait = [&] {
    waits += std::to_string(running.load()->now().time_since_epoch() / 100ms) + " ";
    if (running.load()->now() == Instant(2s)) running.load()->stop();
  };
  EXPECT_EQ(play(std::nullopt, std::nullopt, wait), "0:auth3 0:at 1:enter 1:state1 2:range-70");
  EXPECT_EQ(waits, "0 10 15 20 ");
  std::thread stopper([this] {
    while (running.load() == nullptr) std::this_thread::yield();
    running.load()->stop();
  });
  EXPECT_EQ(play(1e-300).find("state1"), std::string::npos);  // or this would last for ever
  stopper.join();
}

TEST(Lockstep, SendsOneAtATimeInOrderOnceReleased) {
  struct SlowClient final : HTTPClient {
    void execute(HTTPRequest request, Completion completion) override {
      sent += request.url;
      latest = std::move(completion);
    }
    std::string sent;
    Completion latest;
  };
  const auto slow = std::make_shared<SlowClient>();
  LockstepHTTPClient client(slow);
  const auto ask = [&](const std::string& url, const std::function<void()>& then) {
    client.execute({.url = url, .method = "POST", .headers = {}, .body = {}}, [then](auto, auto) { then(); });
  };
  std::vector<HTTPClient::Completion> called;  // a client may keep them
  const auto endOne = [&] {
    called.push_back(std::exchange(slow->latest, nullptr));
    called.back()(std::nullopt, std::nullopt);
  };
  ask("a", [&] { ask("d", [] {}); });
  ask("b", [] { throw std::runtime_error("b"); });
  ask("c", [] {});
  EXPECT_EQ(slow->sent, "");
  client.release();
  client.release();
  EXPECT_EQ(slow->sent, "a");
  endOne();
  EXPECT_EQ(slow->sent, "ab");
  EXPECT_THROW(endOne(), std::runtime_error);
  EXPECT_EQ(slow->sent, "abc");
  static_cast<void>(std::exchange(slow->latest, nullptr));  // dropped, as by a client that was shut down
  EXPECT_EQ(slow->sent, "abcd");
  endOne();
}

}  // namespace
