// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/location/Instant.h"
#include "platform/replay/BtsnoopWriter.h"
#include "service/Network.h"
#include "testing/BeaconFrame.h"

/// A street with 2,000 beacons, and somebody who walks round it: at any second 50 beacons are in range, and with each
/// second one goes and another comes.
class Street {
 public:
  static constexpr int kBeacons = 2000;
  static constexpr int kInRange = 50;

  /// What the service knows of it.
  static service::Network network() {
    nlohmann::json place = {{"latitude", 40.0}, {"longitude", -3.0}, {"zip", 1}};
    for (const char* text : {"name", "city", "category", "address", "phone", "web", "email"}) place[text] = "";
    for (int beacon = 0; beacon < kBeacons; ++beacon) {
      const std::string number = std::to_string(beacon);
      place["beacons"].push_back({{"uuid", number},
                                  {"name", "Door " + number},
                                  {"major", beacon / kMinors},
                                  {"minor", beacon % kMinors},
                                  {"latitude", 40.0 + beacon * 1e-4},
                                  {"longitude", -3.0},
                                  {"location", "On the left, at the height of the bell."},
                                  {"accesibility", "One step."},
                                  {"url", ""},
                                  {"payload", nlohmann::json::object()}});
    }
    return service::Network::parse("street", nlohmann::json{{"places", {place}}}.dump());
  }

  /// Writes the advertisements that are heard in so many seconds into a new capture at `path`.
  static void record(const std::string& path, int seconds) {
    platform::BtsnoopWriter capture(path);
    for (int second = 0; second < seconds; ++second) {
      for (int place = 0; place < kInRange; ++place) {
        const auto beacon = static_cast<std::uint16_t>((second + place) % kBeacons);
        const platform::UTCTime time(std::chrono::seconds(second) + std::chrono::milliseconds(10 * place));
        capture.write(brivane::testing::networkFrame(beacon / kMinors, beacon % kMinors, -40 - place), time);
      }
    }
    capture.flush();
  }

  /// The number of the beacon with this major and minor; from kBeacons on when the street has none.
  static int beacon(std::int64_t major, std::int64_t minor) {
    return minor < kMinors ? static_cast<int>(major * kMinors + minor) : kBeacons;
  }

  /// Whether it is in range at this second of the walk.
  static bool isInRange(int beacon, int second) {
    const int place = (beacon - second) % kBeacons;
    return (place < 0 ? place + kBeacons : place) < kInRange;
  }

 private:
  static constexpr std::uint16_t kMinors = 100;
};
