// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Location.h"

namespace service {

/// A fault in a network file: one line with the file, the line or the path in it, and the fault.
class NetworkError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using Coordinate = platform::CLLocationCoordinate2D;

/// The beacons of a network and the places around them, as the service tells clients of them.
class Network {
 public:
  struct Place {
    Coordinate coordinate;
    nlohmann::ordered_json description;
  };

  struct Beacon {
    std::int64_t major = 0;
    std::int64_t minor = 0;
    std::string uuid;
    Coordinate coordinate;
    nlohmann::ordered_json description;
  };

  /// Reads a network file. Throws NetworkError, and like `readFile`.
  static Network load(const std::string& path);
  /// The same from its text; `name` stands for the file in errors.
  static Network parse(const std::string& name, std::string_view text);

  /// Null when the network has no such beacon.
  const Beacon* find(std::int64_t major, std::int64_t minor) const;
  const Beacon* find(std::string_view uuid) const;
  /// The beacon nearest to a coordinate; null when none is within `radius` metres.
  const Beacon* nearest(const Coordinate& to, double radius) const;
  /// The places within `radius` metres and their distances, nearest first.
  std::vector<std::pair<double, const Place*>> placesWithin(const Coordinate& of,
                                                            double radius) const;

 private:
  std::vector<Place> places_;
  std::vector<Beacon> beacons_;
};

}  // namespace service
