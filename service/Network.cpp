// SPDX-License-Identifier: Apache-2.0
#include "service/Network.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "platform/location/Distance.h"
#include "service/JSONDepth.h"
#include "service/ReadFile.h"

namespace service {
namespace {

using nlohmann::ordered_json;

constexpr std::int64_t kMaxIdentifier = 65535;

/// One value of the file with its path, so that what is wrong with it can be told.
class Node {
 public:
  Node(const std::string& file, std::string path, const ordered_json& value)
      : file_(file), path_(std::move(path)), value_(value) {}

  [[noreturn]] void fail(const std::string& fault) const {
    throw NetworkError(file_ + ": " + (path_.empty() ? "" : path_ + ": ") + fault);
  }

  const ordered_json& value() const { return value_; }

  Node member(const std::string& key) const {
    if (!value_.is_object()) fail("not an object");
    const auto found = value_.find(key);
    const std::string path = path_.empty() ? key : path_ + "." + key;
    if (found == value_.end()) Node(file_, path, value_).fail("missing");
    return {file_, path, *found};
  }

  std::vector<Node> elements() const {
    if (!value_.is_array()) fail("not a list");
    std::vector<Node> nodes;
    for (std::size_t i = 0; i < value_.size(); ++i) {
      nodes.emplace_back(file_, path_ + "[" + std::to_string(i) + "]", value_[i]);
    }
    return nodes;
  }

  std::string text() const {
    if (!value_.is_string()) fail("not a text");
    return value_.get<std::string>();
  }

  std::int64_t integer(std::int64_t from, std::int64_t to) const {
    const bool fits = value_.is_number_integer() &&
                      value_.get<double>() >= static_cast<double>(from) &&
                      value_.get<double>() <= static_cast<double>(to);
    if (!fits) fail("not an integer from " + std::to_string(from) + " to " + std::to_string(to));
    return value_.get<std::int64_t>();
  }

  double degrees(int limit) const {
    if (!value_.is_number() || std::abs(value_.get<double>()) > limit) {
      const std::string end = std::to_string(limit);
      fail("not a number from -" + end + " to " + end);
    }
    return value_.get<double>();
  }

 private:
  const std::string& file_;
  std::string path_;
  const ordered_json& value_;
};

Coordinate readCoordinate(const Node& node) {
  return {node.member("latitude").degrees(90), node.member("longitude").degrees(180)};
}

/// The members of `node` under `keys`, texts all.
ordered_json readTexts(const Node& node, std::initializer_list<const char*> keys) {
  ordered_json texts;
  for (const char* key : keys) texts[key] = node.member(key).text();
  return texts;
}

Network::Place readPlace(const Node& node) {
  Network::Place place{readCoordinate(node), readTexts(node, {"name", "city", "category", "address",
                                                              "phone", "web", "email"})};
  place.description["zip"] = node.member("zip").integer(0, 999'999'999);
  return place;
}

Network::Beacon readBeacon(const Node& node) {
  Network::Beacon beacon;
  beacon.major = node.member("major").integer(0, kMaxIdentifier);
  beacon.minor = node.member("minor").integer(0, kMaxIdentifier);
  beacon.uuid = node.member("uuid").text();
  beacon.coordinate = readCoordinate(node);
  beacon.description = readTexts(node, {"uuid", "name", "location", "accesibility", "url"});
  beacon.description["latitude"] = beacon.coordinate.latitude;
  beacon.description["longitude"] = beacon.coordinate.longitude;
  const Node payload = node.member("payload");
  if (!payload.value().is_object()) payload.fail("not an object");
  beacon.description["payload"] = payload.value();
  return beacon;
}

ordered_json parseJSON(const std::string& name, std::string_view text) {
  const auto refuse =
      refuseDeepNesting([&name] { throw NetworkError(name + ": nested too deep"); });
  try {
    return ordered_json::parse(text, refuse);
  } catch (const ordered_json::parse_error& fault) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(fault.byte, text.size()));
    const auto line = std::count(text.begin(), end, '\n') + 1;
    throw NetworkError(name + ": line " + std::to_string(line) + ": not JSON");
  } catch (const ordered_json::out_of_range&) {
    throw NetworkError(name + ": a number that is too large");
  }
}

}  // namespace

Network Network::load(const std::string& path) { return parse(path, readFile(path)); }

Network Network::parse(const std::string& name, std::string_view text) {
  const ordered_json root = parseJSON(name, text);
  Network network;
  std::set<std::pair<std::int64_t, std::int64_t>> identities;
  std::set<std::string> uuids;
  for (const Node& place : Node(name, "", root).member("places").elements()) {
    network.places_.push_back(readPlace(place));
    for (const Node& node : place.member("beacons").elements()) {
      Beacon beacon = readBeacon(node);
      if (!identities.emplace(beacon.major, beacon.minor).second) {
        node.fail("another beacon has this major and minor");
      }
      if (!uuids.insert(beacon.uuid).second) node.member("uuid").fail("another beacon has it");
      network.beacons_.push_back(std::move(beacon));
    }
  }
  return network;
}

const Network::Beacon* Network::find(std::int64_t major, std::int64_t minor) const {
  const auto found = std::ranges::find_if(beacons_, [&](const Beacon& beacon) {
    return beacon.major == major && beacon.minor == minor;
  });
  return found == beacons_.end() ? nullptr : &*found;
}

const Network::Beacon* Network::find(std::string_view uuid) const {
  const auto found = std::ranges::find(beacons_, uuid, &Beacon::uuid);
  return found == beacons_.end() ? nullptr : &*found;
}

const Network::Beacon* Network::nearest(const Coordinate& to, double radius) const {
  const Beacon* nearest = nullptr;
  for (const Beacon& beacon : beacons_) {
    const double distance = platform::distanceBetween(to, beacon.coordinate);
    if (distance > radius) continue;
    radius = distance;
    nearest = &beacon;
  }
  return nearest;
}

std::vector<std::pair<double, const Network::Place*>> Network::placesWithin(const Coordinate& of,
                                                                            double radius) const {
  std::vector<std::pair<double, const Place*>> found;
  for (const Place& place : places_) {
    const double distance = platform::distanceBetween(of, place.coordinate);
    if (distance <= radius) found.emplace_back(distance, &place);
  }
  std::ranges::stable_sort(found, {}, [](const auto& entry) { return entry.first; });
  return found;
}

}  // namespace service
