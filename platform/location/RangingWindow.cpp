// SPDX-License-Identifier: Apache-2.0
#include "platform/location/RangingWindow.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "platform/location/Distance.h"

namespace platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kInterval = 1s;
/// How long a silent beacon stays in the reports.
constexpr Duration kLingering = 5s;

bool isNearer(const CLBeacon& a, const CLBeacon& b) {
  const bool aIsSilent = a.accuracy < 0.0;
  const bool bIsSilent = b.accuracy < 0.0;
  return aIsSilent == bIsSilent ? a.accuracy < b.accuracy : bIsSilent;
}

}  // namespace

RangingWindow::RangingWindow(const UUID& proximityUUID, Instant now)
    : proximityUUID_(proximityUUID), deadline_(now + kInterval) {}

void RangingWindow::hear(const IBeaconFrame& frame, int rssi, Instant heard) {
  if (deadline_ - heard > kLingering) return;
  Heard& beacon = heard_[{frame.major, frame.minor}];
  beacon.measuredPower = frame.measuredPower;
  beacon.last = std::max(beacon.last, heard);
  if (!isReading(rssi)) return;
  beacon.sum += rssi;
  ++beacon.readings;
}

std::vector<CLBeacon> RangingWindow::report() {
  std::erase_if(heard_,
                [this](const auto& beacon) { return deadline_ - beacon.second.last > kLingering; });
  std::vector<CLBeacon> beacons;
  beacons.reserve(heard_.size());
  for (auto& [numbers, heard] : heard_) {
    CLBeacon& beacon = beacons.emplace_back();
    beacon.proximityUUID = proximityUUID_;
    std::tie(beacon.major, beacon.minor) = numbers;
    if (heard.readings == 0) continue;
    const double mean = static_cast<double>(heard.sum) / static_cast<double>(heard.readings);
    beacon.rssi = static_cast<std::int32_t>(std::lround(mean));
    beacon.accuracy = estimatedDistance(heard.measuredPower, mean);
    beacon.proximity = proximityAt(beacon.accuracy);
    heard.sum = heard.readings = 0;
  }
  std::stable_sort(beacons.begin(), beacons.end(), isNearer);
  deadline_ += kInterval;
  return beacons;
}

}  // namespace platform
