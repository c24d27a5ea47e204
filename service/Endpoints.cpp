// SPDX-License-Identifier: Apache-2.0
#include "service/Endpoints.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "service/JSONDepth.h"

namespace service {
namespace {

using nlohmann::ordered_json;

/// A position may be this far from a beacon and still be at it, metres.
constexpr double kAtABeacon = 50.0;

/// A field that a request lacks, or that cannot be read.
class BadField : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

const std::string& text(const Fields& fields, const char* key) {
  const auto found = fields.find(key);
  if (found == fields.end() || found->second.empty()) {
    throw BadField(std::string(key) + " is missing");
  }
  return found->second;
}

template <typename Number>
Number number(const Fields& fields, const char* key) {
  const std::string& written = text(fields, key);
  Number value{};
  const auto read = std::from_chars(written.data(), written.data() + written.size(), value);
  if (read.ec != std::errc() || read.ptr != written.data() + written.size()) {
    throw BadField(std::string(key) + " is not a number");
  }
  return value;
}

double degrees(const Fields& fields, const char* key, double limit) {
  const auto value = number<double>(fields, key);
  if (!(std::abs(value) <= limit)) throw BadField(std::string(key) + " is out of range");
  return value;
}

Coordinate coordinate(const Fields& fields) {
  return {degrees(fields, "lat", 90.0), degrees(fields, "lng", 180.0)};
}

const char* proximityAt(std::int64_t rssi) {
  if (rssi >= 0) return "unknown";
  if (rssi > -52) return "immediate";
  return rssi > -74 ? "near" : "far";
}

bool isSameUUID(std::string_view a, std::string_view b) {
  return std::ranges::equal(
      a, b, [](unsigned char x, unsigned char y) { return std::toupper(x) == std::toupper(y); });
}

Reply unknown() { return {200, {{"status", false}}}; }

}  // namespace

Endpoints::Endpoints(Settings settings)
    : settings_(std::move(settings)), tokens_(settings_.tokenLifetime, settings_.now) {}

Reply Endpoints::answer(std::string_view endpoint, std::string_view authorization,
                        std::string_view body) {
  try {
    if (endpoint == "oauth2/token/") return token(body);
    if (!isAuthorized(authorization)) return {401, {{"error", "invalid_token"}}};
    if (endpoint == "sync/") return sync(body);
    if (endpoint == "resolve/") return resolve(body);
    if (endpoint == "tracker/") return tracker(body);
    if (endpoint == "payload/") return payload(body);
    if (endpoint == "nearest/") return nearest(body);
    return {404, {{"error", "not_found"}}};
  } catch (const BadField& fault) {
    return {400, {{"error", "invalid_request"}, {"error_description", fault.what()}}};
  }
}

Reply Endpoints::token(std::string_view body) {
  const Fields fields = parseFormBody(body, {"grant_type", "client_id", "client_secret"});
  if (text(fields, "grant_type") != "client_credentials") {
    return {400, {{"error", "unsupported_grant_type"}}};
  }
  const bool known = text(fields, "client_id") == settings_.credentials.key &&
                     text(fields, "client_secret") == settings_.credentials.secret;
  if (!known) return {401, {{"error", "invalid_client"}}};
  return {200,
          {{"access_token", tokens_.issue()},
           {"token_type", "Bearer"},
           {"expires_in", tokens_.lifetime().count()},
           {"scope", "read write"}}};
}

Reply Endpoints::sync(std::string_view body) const {
  const Fields fields = parseFormBody(body, {"model", "installID"});
  text(fields, "model");
  text(fields, "installID");
  return {
      200,
      {{"status", true}, {"offline", false}, {"internal", false}, {"pubkey", settings_.publicKey}}};
}

Reply Endpoints::resolve(std::string_view body) const {
  const Fields fields =
      parseFormBody(body, {"uuid", "major", "minor", "rssi", "battery", "installID", "model"});
  const Network::Beacon* const beacon = settings_.network.find(
      number<std::int64_t>(fields, "major"), number<std::int64_t>(fields, "minor"));
  const auto rssi = number<std::int64_t>(fields, "rssi");
  if (beacon == nullptr || !isSameUUID(text(fields, "uuid"), BRIVANE_PROXIMITY_UUID)) {
    return unknown();
  }
  return {200, {{"status", true}, {"beacon", match(*beacon, rssi)}}};
}

Reply Endpoints::tracker(std::string_view body) const {
  const Fields fields =
      parseFormBody(body, {"lat", "lng", "radius", "speed", "provider", "installID", "model"});
  const double radius = std::max(number<double>(fields, "radius"), kAtABeacon);
  const Network::Beacon* const beacon = settings_.network.nearest(coordinate(fields), radius);
  return {200,
          {{"status", true}, {"beacon", beacon != nullptr ? match(*beacon, 0) : ordered_json()}}};
}

Reply Endpoints::payload(std::string_view body) {
  const Fields fields = parseFormBody(body, {"uuid", "payload"});
  const Network::Beacon* const beacon = settings_.network.find(text(fields, "uuid"));
  if (beacon == nullptr) return unknown();
  const auto refuse = refuseDeepNesting([] { throw BadField("payload is nested too deep"); });
  const auto payload = ordered_json::parse(text(fields, "payload"), refuse, false);
  if (!payload.is_object()) throw BadField("payload is not a JSON object");
  const std::lock_guard lock(mutex_);
  payloads_[beacon->uuid] = payload;
  return {200, {{"status", true}, {"uuid", beacon->uuid}, {"payload", payload}}};
}

Reply Endpoints::nearest(std::string_view body) const {
  const Fields fields = parseFormBody(body, {"lat", "lng", "radius"});
  ordered_json beacons = ordered_json::array();
  for (const auto& [distance, place] :
       settings_.network.placesWithin(coordinate(fields), number<double>(fields, "radius"))) {
    beacons.push_back({{"distance", distance}, {"local", place->description}});
  }
  return {200, {{"beacons", beacons}}};
}

bool Endpoints::isAuthorized(std::string_view authorization) const {
  constexpr std::string_view kBearer = "Bearer ";
  return authorization.starts_with(kBearer) && tokens_.isLive(authorization.substr(kBearer.size()));
}

ordered_json Endpoints::match(const Network::Beacon& beacon, std::int64_t rssi) const {
  ordered_json waybeacon = beacon.description;
  const std::lock_guard lock(mutex_);
  const auto attached = payloads_.find(beacon.uuid);
  if (attached != payloads_.end()) waybeacon["payload"] = attached->second;
  return {{"match", beacon.uuid},
          {"rssi", rssi},
          {"proximity", proximityAt(rssi)},
          {"waybeacon", std::move(waybeacon)}};
}

}  // namespace service
