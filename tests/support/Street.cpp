#include "tests/support/Street.h"

#include <chrono>
#include <nlohmann/json.hpp>

#include "platform/location/Instant.h"
#include "platform/replay/BtsnoopWriter.h"
#include "tests/support/Frames.h"

namespace {

constexpr int kMinors = 100;

std::uint16_t majorOf(int beacon) { return static_cast<std::uint16_t>(beacon / kMinors); }
std::uint16_t minorOf(int beacon) { return static_cast<std::uint16_t>(beacon % kMinors); }

nlohmann::json described(int beacon) {
  const std::string number = std::to_string(beacon);
  return {{"uuid", number},
          {"name", "Door " + number},
          {"major", majorOf(beacon)},
          {"minor", minorOf(beacon)},
          {"latitude", 40.0 + beacon * 1e-4},
          {"longitude", -3.0},
          {"location", "On the left, at the height of the bell."},
          {"accesibility", "One step."},
          {"url", ""},
          {"payload", nlohmann::json::object()}};
}

}  // namespace

service::Network Street::network() {
  nlohmann::json place = {{"latitude", 40.0}, {"longitude", -3.0}, {"zip", 1}};
  for (const char* text : {"name", "city", "category", "address", "phone", "web", "email"}) {
    place[text] = "";
  }
  for (int beacon = 0; beacon < kBeacons; ++beacon) place["beacons"].push_back(described(beacon));
  return service::Network::parse("street", nlohmann::json{{"places", {place}}}.dump());
}

void Street::record(const std::string& path, int seconds) {
  platform::BtsnoopWriter capture(path);
  for (int second = 0; second < seconds; ++second) {
    for (int place = 0; place < kInRange; ++place) {
      const int beacon = (second + place) % kBeacons;
      const platform::UTCTime time(std::chrono::seconds(second) + std::chrono::milliseconds(10 * place));
      capture.write(beaconFrame(kNetwork, majorOf(beacon), minorOf(beacon), -40 - place), time);
    }
  }
  capture.flush();
}

int Street::beacon(std::int64_t major, std::int64_t minor) {
  return minor < kMinors ? static_cast<int>(major * kMinors + minor) : kBeacons;
}

bool Street::isInRange(int beacon, int second) {
  const int place = (beacon - second) % kBeacons;
  return (place < 0 ? place + kBeacons : place) < kInRange;
}
