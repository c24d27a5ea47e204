// SPDX-License-Identifier: Apache-2.0
#include "host/BeaconTable.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "host/ClockText.h"
#include "host/RecordJSON.h"
#include "platform/JSONValue.h"

namespace host {
namespace {

using platform::JSONValue;

constexpr std::array<const char*, 4> kProximities = {"unknown", "immediate", "near", "far"};
constexpr std::array<const char*, 3> kStates = {"unknown", "inside", "outside"};

const char* nameOf(platform::CLProximity proximity) {
  return kProximities.at(static_cast<std::size_t>(proximity));
}

JSONValue beaconJSON(const platform::CLBeacon& beacon) {
  return JSONValue::Object{{"uuid", beacon.proximityUUID.UUIDString()},
                           {"major", beacon.major},
                           {"minor", beacon.minor},
                           {"rssi", beacon.rssi},
                           {"metres", std::round(beacon.accuracy * 100.0) / 100.0},
                           {"proximity", nameOf(beacon.proximity)}};
}

}  // namespace

BeaconTable::BeaconTable(Screen& screen, Options options)
    : screen_(screen), options_(std::move(options)) {}

void BeaconTable::finish() {
  if (screen_.isWatched()) screen_.showProgress("");
  if (!heard_ && !options_.json) screen_.print("No beacon of the network was heard.");
  for (std::size_t begin = 0; begin < table_.size();) {
    const std::size_t end = table_.find('\n', begin);
    screen_.print(table_.substr(begin, end - begin));
    begin = end == std::string::npos ? table_.size() : end + 1;
  }
}

void BeaconTable::locationManager_didDetermineState_forRegion(Manager& /*manager*/,
                                                              std::int64_t state,
                                                              const Region& /*region*/) {
  if (!options_.json) return;
  screen_.print(
      eventLine(options_.now(), "state", {{"state", kStates.at(static_cast<std::size_t>(state))}}));
}

void BeaconTable::locationManager_didRangeBeacons_inRegion(Manager& /*manager*/,
                                                           const Beacons& beacons,
                                                           const Region& /*region*/) {
  heard_ = heard_ || !beacons.empty();
  if (options_.json) {
    JSONValue::List list;
    for (const auto& beacon : beacons) list.push_back(beaconJSON(beacon));
    screen_.print(eventLine(options_.now(), "range", {{"beacons", std::move(list)}}));
  } else if (screen_.isWatched()) {
    showTable(beacons);
  } else {
    for (const auto& beacon : beacons) screen_.print(line(beacon));
  }
}

void BeaconTable::showTable(const Beacons& beacons) {
  table_.clear();
  for (const auto& beacon : beacons) {
    table_.append(table_.empty() ? "" : "\n").append(line(beacon));
  }
  screen_.showProgress(table_.empty() ? "no beacon of the network in range" : table_);
}

std::string BeaconTable::line(const platform::CLBeacon& beacon) const {
  std::array<char, 64> text{};
  if (beacon.rssi == 0) {
    std::snprintf(text.data(), text.size(), "  %5d %5d  silent", beacon.major, beacon.minor);
  } else {
    std::snprintf(text.data(), text.size(), "  %5d %5d  %4d dBm  %6.1f m  %s", beacon.major,
                  beacon.minor, beacon.rssi, beacon.accuracy, nameOf(beacon.proximity));
  }
  return clockText(options_.now()) + text.data();
}

}  // namespace host
