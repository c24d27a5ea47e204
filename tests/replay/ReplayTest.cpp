#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "platform/replay/BtsnoopReader.h"
#include "platform/replay/BtsnoopWriter.h"
#include "platform/replay/CaptureError.h"
#include "platform/replay/GpxTrack.h"
#include "platform/replay/HCIEvent.h"
#include "platform/replay/LockstepHTTPClient.h"
#include "platform/replay/ReplayLocationService.h"
#include "tests/location/Frames.h"
#include "tests/location/RecordingDelegate.h"
#include "tests/replay/CaptureWriter.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
using namespace platform;

constexpr double kMorning = 1778320800.0;  // 2026-05-09 10:00:00, and the captures' first second

std::string faultOf(const std::function<void()>& deed) {
  try {
    deed();
  } catch (const CaptureError& fault) {
    const std::string what = fault.what();
    return what.substr(what.rfind('/') + 1);
  }
  return "";
}

TEST(Btsnoop, ReadsAdvertisementsOfEveryFraming) {
  const TemporaryFolder folder;
  for (const std::uint32_t datalink : {1001U, 1002U, 2001U}) {
    for (const bool extended : {false, true}) {
      CaptureWriter capture(datalink);
      capture.addPacket(kMorning, "\x01\x03\x0C", 2);                     // a command
      capture.add(kMorning, std::string("\x0E\x04\x01\x03\x0C\x00", 6));  // another event
      capture.add(kMorning + 1, CaptureWriter::event(beaconFrame(kNetwork, 1, 2, -70), extended));
      capture.add(kMorning, CaptureWriter::event({0x004D, {1}, 127}, extended));         // clock went back
      if (extended) capture.add(kMorning, CaptureWriter::event({1, {1}, -1}, true, 1));  // in pieces
      BtsnoopReader reader(folder.write("a.btsnoop", capture.bytes));
      const auto first = reader.next();
      ASSERT_TRUE(first) << datalink;
      EXPECT_EQ(first->time, Instant(std::chrono::seconds(static_cast<long>(kMorning) + 1)));
      EXPECT_EQ(first->advertisements.at(0).data, beaconFrame(kNetwork, 1, 2, -70).data);
      EXPECT_EQ(first->advertisements.at(0).rssi, -70);
      const auto second = reader.next();
      EXPECT_EQ(second->advertisements.at(0).company, 0x004D);
      EXPECT_EQ(second->time, first->time);
      EXPECT_FALSE(reader.next());
      EXPECT_EQ(reader.fractionRead(), 1.0);
    }
  }
}

TEST(Btsnoop, NamesTheFaultAndItsPlaceAfterAllThatIsSound) {
  const TemporaryFolder folder;
  CaptureWriter sound(2001);
  sound.add(kMorning, CaptureWriter::event(beaconFrame(kNetwork, 1, 2, -70)));
  const std::string& good = sound.bytes;
  const std::string place = std::to_string(good.size());
  const auto with = [&good](std::size_t at, const std::string& bytes) {
    return std::string(good).replace(at, bytes.size(), bytes);
  };
  const auto then = [sound](double second, const std::string& event) {
    CaptureWriter longer = sound;
    longer.add(second, event);
    return longer.bytes;
  };
  struct Row {
    std::string bytes;
    int records;
    std::string fault;
  };
  const Row rows[] = {
      {"", 0, "byte 0: not a btsnoop capture"},
      {"btsnoop", 0, "byte 0: not a btsnoop capture"},
      {with(0, "pcapng"), 0, "byte 0: not a btsnoop capture"},
      {with(8, CaptureWriter::number(2, 4)), 0, "byte 8: not version 1 of btsnoop"},
      {with(12, CaptureWriter::number(1003, 4)), 0, "byte 12: datalink 1003 is none of 1001, 1002 and 2001"},
      {good + "12345", 1, "byte " + place + ": the file ends inside a record's header"},
      {good + good.substr(16, 30), 1, "byte " + place + ": the file ends inside a record"},
      {good + CaptureWriter::number(~0ULL, 8) + std::string(16, '\0'), 1,
       "byte " + place + ": a record of 4294967295 bytes cannot be"},
      {then(1e12, "\x3E"), 1, "byte " + place + ": a record of such a time cannot be"},
      {then(kMorning, "\x3E\x7F\x02"), 1, "byte " + place + ": an HCI event's length is not that of its record"},
      {then(kMorning, std::string("\x3E\x03\x02\x05\x01", 5)), 1,
       "byte " + place + ": an HCI event ends inside a field"},
  };
  for (const Row& row : rows) {
    int records = 0;
    const std::string path = folder.write("a.btsnoop", row.bytes);
    EXPECT_EQ(faultOf([&] {
                BtsnoopReader reader(path);
                while (reader.next()) ++records;
              }),
              "a.btsnoop: " + row.fault);
    EXPECT_EQ(records, row.records);
  }
  EXPECT_EQ(faultOf([] { BtsnoopReader("/nowhere/b"); }), "b: No such file or directory");
}

TEST(Btsnoop, ReadsWhatItWrites) {
  const TemporaryFolder folder;
  const std::string path = folder.path() / "w.btsnoop";
  Advertisement heard = beaconFrame(kNetwork, 1, 2, -70);
  heard.address = {0xC0, 1, 2, 3, 4, 5};
  {
    BtsnoopWriter writer(path);
    writer.write(heard, 5s);
    writer.write({.company = 1, .data = std::vector<std::uint8_t>(28), .rssi = -1}, 6s);  // too long for a report
    EXPECT_EQ(writer.count(), 1U);
  }
  BtsnoopReader reader(path);
  const auto record = reader.next();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->time, Instant(5s));
  EXPECT_EQ(record->advertisements.at(0).address, heard.address);
  EXPECT_EQ(record->advertisements.at(0).data, heard.data);
  EXPECT_EQ(record->advertisements.at(0).rssi, -70);
  EXPECT_FALSE(reader.next());
  EXPECT_EQ(faultOf([&] { BtsnoopWriter again(path); }), "w.btsnoop: File exists");
}

TEST(HCI, PassesOverWhatTheAirMalforms) {
  const auto count = [](std::string data) {
    std::string body = std::string{0x02, 1} + std::string(8, 'x') + static_cast<char>(data.size()) + data + '\xC0';
    const std::string event = std::string{'\x3E', static_cast<char>(body.size())} + body;
    return advertisementsIn({reinterpret_cast<const std::uint8_t*>(event.data()), event.size()}).size();
  };
  EXPECT_EQ(count(""), 0U);
  EXPECT_EQ(count({2, '\xFF', 1}), 0U);                                   // no whole company
  EXPECT_EQ(count({3, '\xFF', 1, 0, 3, '\xFF', 2, 0}), 2U);               // two companies
  EXPECT_EQ(count({3, '\xFF', 1, 0, 9, '\xFF', 2, 0}), 1U);               // runs past the end
  EXPECT_EQ(count(std::string{0} + std::string({3, '\xFF', 1, 0})), 0U);  // ends early
}

TEST(Gpx, ReadsPointsByTimeOrNamesTheFault) {
  const TemporaryFolder folder;
  const auto track = [&folder](const std::string& points) {
    return folder.write("t.gpx", "<gpx><trk><trkseg>" + points + "</trkseg></trk></gpx>");
  };
  const std::string early = R"(<trkpt lat="-1.5" lon="2"><time>2026-05-09T10:00:00.25Z</time></trkpt>)";
  const std::string late = R"(<trkpt lat="1" lon="2"><time>2026-05-09T12:00:01+01:30</time><hdop>2</hdop></trkpt>)";
  const auto points = readGpxTrack(track(late + early));
  ASSERT_EQ(points.size(), 2U);
  EXPECT_EQ(points[0].time, Instant(1778320800250000));
  EXPECT_EQ(points[0].location.coordinate.latitude, -1.5);
  EXPECT_EQ(points[0].location.horizontalAccuracy, 5.0);
  EXPECT_EQ(points[1].time, Instant(1778322601000000));
  EXPECT_EQ(points[1].location.horizontalAccuracy, 10.0);
  const char* const time = "t.gpx: byte 19: a track point without a time";
  const char* const where = "t.gpx: byte 19: a track point without a latitude and a longitude";
  const std::pair<std::string, std::string> faults[] = {
      {R"(<trkpt lat="1" lon="2"/>)", time},
      {R"(<trkpt lat="1" lon="2"><time>2026-05-09</time></trkpt>)", time},
      {R"(<trkpt lat="1" lon="2"><time>2026-02-30T10:00:00Z</time></trkpt>)", time},
      {R"(<trkpt lat="1" lon="2"><time>2026-05-09T24:00:00Z</time></trkpt>)", time},
      {R"(<trkpt lat="1" lon="2"><time>2026-05-09T10:00:00Zx</time></trkpt>)", time},
      {R"(<trkpt lat="1,5" lon="2"><time>2026-05-09T10:00:00Z</time></trkpt>)", where},
      {R"(<trkpt lat="91" lon="2"><time>2026-05-09T10:00:00Z</time></trkpt>)", where},
      {R"(<trkpt lon="2"><time>2026-05-09T10:00:00Z</time></trkpt>)", where},
  };
  for (const auto& [point, fault] : faults) {
    const std::string path = track(point);
    EXPECT_EQ(faultOf([&path] { readGpxTrack(path); }), fault) << point;
  }
  EXPECT_EQ(faultOf([&] { readGpxTrack(folder.write("t.gpx", "<kml/>")); }), "t.gpx: byte 0: not a GPX file");
  EXPECT_NE(faultOf([&] { readGpxTrack(folder.write("t.gpx", "<gpx><trk>")); }).find("byte"), std::string::npos);
  EXPECT_EQ(faultOf([] { readGpxTrack("/nowhere/t.gpx"); }), "t.gpx: No such file or directory");
}

class Replay : public testing::Test {
 protected:
  Replay() {
    CaptureWriter capture(2001);
    capture.add(kMorning + 1, CaptureWriter::event(beaconFrame(kNetwork, 1, 2, -70)));
    capture.add(kMorning + 1.5, CaptureWriter::event(beaconFrame(kNetwork, 1, 2, -70)));
    capture.add(kMorning + 2.5, CaptureWriter::event(beaconFrame(kNetwork, 1, 2, -60)));
    bytes = capture.bytes;
  }

  /// What is heard in a replay, and the fault that it ends with.
  std::string play(std::optional<double> speed, std::optional<Instant> limit = std::nullopt,
                   std::function<void()> waitUntilIdle = nullptr) {
    ReplayLocationService::Options options;
    options.speed = speed;
    options.waitUntilIdle = std::move(waitUntilIdle);
    options.capture = folder.write("w.btsnoop", bytes);
    options.track = folder.write("w.gpx", R"(<gpx><trk><trkseg><trkpt lat="7" lon="2"><time>2026-05-09T10:00:00Z</time>
                 </trkpt><trkpt lat="8" lon="2"><time>2026-05-09T10:01:00Z</time></trkpt></trkseg></trk></gpx>)");
    ReplayLocationService replay(std::move(options));
    running = &replay;
    const auto walker = std::make_shared<RecordingDelegate>();
    walker->prefix = [&replay] { return std::to_string(replay.now() / 1s) + ":"; };
    const auto region = CLBeaconRegion::initWithProximityUUID_identifier(kNetwork, "r");
    walker->onEach = [&region](auto& manager, auto& call) {
      if (call == "enter") manager.startRangingBeaconsInRegion(region);
    };
    const auto manager = replay.createManager();
    manager->setDelegate(walker);
    manager->startMonitoringForRegion(region);
    manager->startUpdatingLocation();
    const std::string fault = faultOf([&] { replay.run(limit); });
    running = nullptr;
    return walker->take() + fault;
  }

  const TemporaryFolder folder;
  std::string bytes;
  std::atomic<ReplayLocationService*> running = nullptr;
  const std::string heard = "0:auth3 0:at 1:enter 1:state1 2:range-70 3:range-60";
};

TEST_F(Replay, IsTheSameAtEverySpeed) {
  EXPECT_EQ(play(std::nullopt, 3s), heard);
  EXPECT_EQ(play(50.0, 3s), heard);
  EXPECT_NE(play(std::nullopt).find(" 60:at"), std::string::npos);
  EXPECT_EQ(play(std::nullopt, 2s), "0:auth3 0:at 1:enter 1:state1 2:range-70");
  bytes += "cut";
  EXPECT_TRUE(play(std::nullopt).starts_with(heard + "w.btsnoop: byte "));
}

TEST_F(Replay, WaitsBeforeTheClockMovesAndStopsWhenTold) {
  std::string waits;
  const auto wait = [&] {
    waits += std::to_string(running.load()->now().count() / 100000) + " ";
    if (running.load()->now() == 2s) running.load()->stop();
  };
  EXPECT_EQ(play(std::nullopt, std::nullopt, wait), "0:auth3 0:at 1:enter 1:state1 2:range-70");
  EXPECT_EQ(waits, "0 10 15 20 ");
  std::jthread stopper([this] {
    while (running.load() == nullptr) std::this_thread::yield();
    running.load()->stop();
  });
  EXPECT_EQ(play(1e-300).find("state1"), std::string::npos);  // or this would last for ever
}

/// Keeps requests until a test lets them end.
class SlowClient final : public HTTPClient {
 public:
  void execute(HTTPRequest request, Completion completion) override {
    sent += request.url + " ";
    waiting.push_back(std::move(completion));
  }
  void endOne() {
    const Completion completion = std::move(waiting.front());
    waiting.pop_front();
    completion(std::nullopt, std::nullopt);
  }

  std::string sent;
  std::deque<Completion> waiting;
};

TEST(Lockstep, SendsOneAtATimeInOrderOnceReleased) {
  const auto slow = std::make_shared<SlowClient>();
  LockstepHTTPClient client(slow);
  std::string ended;
  const auto ask = [&](const std::string& url, const std::function<void()>& then) {
    client.execute({.url = url, .method = "POST", .headers = {}, .body = {}}, [&ended, url, then](auto, auto) {
      ended += url + " ";
      if (then) then();
    });
  };
  ask("a", [&] { ask("d", nullptr); });
  ask("b", [] { throw std::runtime_error("b"); });
  ask("c", nullptr);
  EXPECT_EQ(slow->sent, "");
  client.release();
  EXPECT_EQ(slow->sent, "a ");
  slow->endOne();
  EXPECT_EQ(slow->sent, "a b ");
  EXPECT_THROW(slow->endOne(), std::runtime_error);
  EXPECT_EQ(slow->sent, "a b c ");
  std::exchange(slow->waiting, {}).clear();  // dropped, as by a client that was shut down
  EXPECT_EQ(slow->sent, "a b c d ");
  slow->endOne();
  EXPECT_EQ(ended, "a b d ");
}

}  // namespace
