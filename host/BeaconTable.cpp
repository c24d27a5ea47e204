#include "host/BeaconTable.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>

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

double rounded(double value, double steps) { return std::round(value * steps) / steps; }

JSONValue beaconJSON(const platform::CLBeacon& beacon) {
  return JSONValue::Object{{"uuid", beacon.proximityUUID.UUIDString()},
                           {"major", beacon.major},
                           {"minor", beacon.minor},
                           {"rssi", beacon.rssi},
                           {"metres", rounded(beacon.accuracy, 100.0)},
                           {"proximity", nameOf(beacon.proximity)}};
}

}  // namespace

BeaconTable::BeaconTable(Screen& screen, Options options)
    : screen_(screen), options_(std::move(options)) {}

void BeaconTable::finish() {
  if (!table_.empty()) screen_.showProgress("");
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
  screen_.print(jsonLine({{"t", rounded(options_.now(), 1000.0)},
                          {"event", "state"},
                          {"state", kStates.at(static_cast<std::size_t>(state))}}));
}

void BeaconTable::locationManager_didRangeBeacons_inRegion(Manager& /*manager*/,
                                                           const Beacons& beacons,
                                                           const Region& /*region*/) {
  if (options_.json) {
    JSONValue::List list;
    for (const auto& beacon : beacons) list.push_back(beaconJSON(beacon));
    screen_.print(jsonLine({{"t", rounded(options_.now(), 1000.0)},
                            {"event", "range"},
                            {"beacons", std::move(list)}}));
    return;
  }
  table_.clear();
  for (const auto& beacon : beacons) {
    if (!screen_.isWatched()) screen_.print(line(beacon));
    table_.append(table_.empty() ? "" : "\n").append(line(beacon));
  }
  if (!screen_.isWatched()) {
    table_.clear();
  } else {
    screen_.showProgress(table_.empty() ? "no beacon of the network in range" : table_);
  }
}

std::string BeaconTable::line(const platform::CLBeacon& beacon) const {
  std::array<char, 96> text{};
  const auto seconds = static_cast<long>(options_.now());
  if (beacon.rssi == 0) {
    std::snprintf(text.data(), text.size(), "%3ld:%02ld  %5d %5d  silent", seconds / 60,
                  seconds % 60, beacon.major, beacon.minor);
  } else {
    std::snprintf(text.data(), text.size(), "%3ld:%02ld  %5d %5d  %4d dBm  %6.1f m  %s",
                  seconds / 60, seconds % 60, beacon.major, beacon.minor, beacon.rssi,
                  beacon.accuracy, nameOf(beacon.proximity));
  }
  return text.data();
}

}  // namespace host
