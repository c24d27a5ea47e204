// SPDX-License-Identifier: Apache-2.0
#include "host/RecordJSON.h"

#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "platform/json/SimdJSON.h"

namespace host {
namespace {

using platform::JSONValue;

JSONValue orNull(const std::optional<std::string>& text) {
  return text ? JSONValue(*text) : JSONValue();
}

/// A service can send a number too large for a double, as a text.
JSONValue finite(double value) { return std::isfinite(value) ? JSONValue(value) : JSONValue(); }

JSONValue waybeaconJSON(const BVWaybeacon& beacon) {
  return JSONValue::Object{
      {"uuid", orNull(beacon.uuid())},         {"name", orNull(beacon.name())},
      {"latitude", finite(beacon.latitude())}, {"longitude", finite(beacon.longitude())},
      {"location", orNull(beacon.location())}, {"accesibility", orNull(beacon.accesibility())},
      {"url", orNull(beacon.url())},           {"payload", beacon.payload()}};
}

JSONValue localJSON(const BVLocal& local) {
  return JSONValue::Object{
      {"name", orNull(local.name())},         {"city", orNull(local.city())},
      {"category", orNull(local.category())}, {"address", orNull(local.address())},
      {"phone", orNull(local.phone())},       {"web", orNull(local.web())},
      {"email", orNull(local.email())},       {"zip", local.zip()}};
}

}  // namespace

JSONValue::Object resolveJSON(const BVAPIResolve& resolve) {
  return {{"rssi", resolve.rssi()},
          {"proximity", orNull(resolve.proximity())},
          {"match", orNull(resolve.uuid())},
          {"waybeacon", waybeaconJSON(*resolve.waybeacon())}};
}

JSONValue::Object placeJSON(const BVWaybeaconDistance& place) {
  return {{"distance", finite(place.distance())}, {"local", localJSON(*place.local())}};
}

std::string jsonLine(JSONValue::Object members) {
  static const platform::SimdJSON json;
  return std::get<std::string>(json.write(JSONValue(std::move(members))));
}

std::string eventLine(double seconds, const char* event, JSONValue::Object members) {
  members.insert(members.begin(), {{"t", std::round(seconds * 1000.0) / 1000.0}, {"event", event}});
  return jsonLine(std::move(members));
}

}  // namespace host
